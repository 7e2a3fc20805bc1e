/*
 * The load pipeline: from the database file of appmngr_checkDbPath to the kernel; and what a
 * program does before it.
 */
#ifndef LOADER_LOADER_H
#define LOADER_LOADER_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Clears the tables, reads the image, fills the tables and sends them. The tables stay filled.
 * Returns 0, or -1 after every failing stage and the pipeline reported the failure.
 */
int appmngr_load_database(void);

/* Releases and clears the tables of an earlier load. Returns 0. */
int appmngr_dbReInit(void);

/*
 * Opens /dev/null as standard input, output and error where the program was started without them,
 * so that no file or socket of its own takes their place. Returns 0, or -1 when that fails.
 */
int appmngr_openStandardStreams(void);

#ifdef __cplusplus
}
#endif

#endif
