/*
 * What the files of apppri share among themselves.
 */
#ifndef APPPRI_APPPRI_INTERNAL_H
#define APPPRI_APPPRI_INTERNAL_H

#include "apppri/apppri.h"

#pragma GCC visibility push(hidden)
extern "C" {

/* Would make room for the counted sorts; makes none and returns 0. */
int _apppri_allocDatabase(void);

/* Parses an expiry text into year, month, day, hour, minute, second; no range is checked. */
int _apppri_strToExpiredTime(int32_t *out, const char *text);

/* Frees a sort that is in no list, with its applications. */
void _apppri_freeSort(apppri_sort *sort);

} /* extern "C" */
#pragma GCC visibility pop

#endif
