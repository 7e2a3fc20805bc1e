/*
 * What the files of the loader share among themselves.
 */
#ifndef LOADER_LOADER_INTERNAL_H
#define LOADER_LOADER_INTERNAL_H

#pragma GCC visibility push(hidden)
extern "C" {

/* Reads the application database image and decompresses it into the XML text buffer. */
int _appmngr_readAppDb(void);

/* The stages of a load, in order, up to the first that fails. */
int _appmngr_readFromDatabase(void);

} /* extern "C" */
#pragma GCC visibility pop

#endif
