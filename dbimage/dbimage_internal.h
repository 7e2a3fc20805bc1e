/*
 * What the files of dbimage share among themselves.
 */
#ifndef DBIMAGE_DBIMAGE_INTERNAL_H
#define DBIMAGE_DBIMAGE_INTERNAL_H

#include "dbimage/dbimage.h"

#pragma GCC visibility push(hidden)
extern "C" {

/* Prepares the image from a file of a container and releases it. Returns what the writer does. */
int _dbimage_writeFile(const dbimage_file *file);

/* Where application database files are decrypted; null while not allocated. */
extern unsigned char *_appmngr_updateBuf;

} /* extern "C" */
#pragma GCC visibility pop

#endif
