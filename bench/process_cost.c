/*
 * process_cost RUNS IMAGE PROGRAM...: runs each program on the image, in turn and RUNS times, and
 * prints a line for each run: the program, its CPU time in microseconds, its peak resident memory
 * in KiB.
 *
 * A process begins with the peak of the one that it was forked from, so this one stays small.
 */
#define _DEFAULT_SOURCE

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

static long long microseconds(struct timeval time)
{
    return (long long)time.tv_sec * 1000000 + time.tv_usec;
}

/* Runs the program without output. Returns 0, or -1 when it did not end with status 0. */
static int run(char *program, char *image, struct rusage *usage)
{
    char *arguments[] = {program, image, NULL};
    int status = -1;
    pid_t child = fork();
    if (child == 0) {
        int null = open("/dev/null", O_WRONLY);
        if (null >= 0 && dup2(null, STDOUT_FILENO) >= 0) {
            execv(program, arguments);
        }
        _exit(127);
    }
    return child > 0 && wait4(child, &status, 0, usage) == child && status == 0 ? 0 : -1;
}

int main(int argc, char **argv)
{
    if (argc < 4) {
        fputs("usage: process_cost RUNS IMAGE PROGRAM...\n", stderr);
        return 2;
    }
    for (long left = strtol(argv[1], NULL, 10); left > 0; left--) {
        for (int i = 3; i < argc; i++) {
            struct rusage usage;
            if (run(argv[i], argv[2], &usage) != 0) {
                fprintf(stderr, "process_cost: %s failed\n", argv[i]);
                return 1;
            }
            printf("%s %lld %ld\n", argv[i],
                   microseconds(usage.ru_utime) + microseconds(usage.ru_stime), usage.ru_maxrss);
        }
    }
    return 0;
}
