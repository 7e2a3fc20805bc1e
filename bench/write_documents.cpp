// write_documents FOLDER: writes the documents that are measured, and the images of the databases.

#include "bench/documents.h"

#include <cstdio>

int main(int argc, char **argv)
{
    if (argc != 2) {
        fputs("usage: write_documents FOLDER\n", stderr);
        return 2;
    }
    if (!bench::writeDocuments(argv[1])) {
        perror(argv[1]);
        return 1;
    }
    return 0;
}
