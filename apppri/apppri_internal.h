/*
 * What the files of apppri share among themselves.
 */
#ifndef APPPRI_APPPRI_INTERNAL_H
#define APPPRI_APPPRI_INTERNAL_H

#include "apppri/apppri.h"

#include <stddef.h>

/* ---- Steps ----------------------------------------------------------------------------- */

/* What a step works on. */
typedef struct apppri_target {
    void *record;         /* gets the values */
    apppri_sort *sort;    /* gets the applications; null above a sort */
    uint32_t *appCounter; /* counts the applications; null above a sort list */
    uint32_t sortCount;   /* sorts parsed so far, shown by one message */
} apppri_target;

/*
 * What is done with an element; more than one step for a tag are taken in their order. A row with
 * a null tag ends a table.
 */
typedef struct apppri_step {
    const char *tag; /* matched without regard to ASCII letter case */
    int (*take)(const XmlpNode *node, apppri_target *target, const struct apppri_step *step);
    size_t offset;       /* of the value in the record */
    uint32_t size;       /* of a text in the record */
    int line;            /* reported when the step fails */
    const char *message; /* with target->sortCount as its only argument */
} apppri_step;

#pragma GCC visibility push(hidden)
extern "C" {

/*
 * Takes the steps for tag, up to the first that fails, which is reported in the name of function.
 * Returns the number of steps taken, 0 when there is none for tag, or -1.
 */
int _apppri_takeSteps(const char *function, const apppri_step *steps, const char *tag,
                      const XmlpNode *node, apppri_target *target);

/* Steps that store the value of node: as a number, as a terminated text, as bytes up to size. */
int _apppri_takeNumber(const XmlpNode *node, apppri_target *target, const apppri_step *step);
int _apppri_takeText(const XmlpNode *node, apppri_target *target, const apppri_step *step);
int _apppri_takeBytes(const XmlpNode *node, apppri_target *target, const apppri_step *step);

/* ---- Parts of the parser ---------------------------------------------------------------- */

/* Where room for the counted sorts could be made; makes none and returns 0. */
int _apppri_allocDatabase(void);

/* Reads an expiry text into out: year, month, day, hour, minute, second; no range is checked. */
int _apppri_strToExpiredTime(int32_t *out, const char *text);

/* Frees a sort that is in no list, with its applications. */
void _apppri_freeSort(apppri_sort *sort);

} /* extern "C" */
#pragma GCC visibility pop

#endif
