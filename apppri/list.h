/*
 * The circular lists of the model. Record is apppri_sort or apppri_app; a list is its sentinel.
 */
#ifndef APPPRI_LIST_H
#define APPPRI_LIST_H

#include "apppri/apppri.h"

#include <stdint.h>

/* Makes record the sentinel of an empty list and returns it. */
template <typename Record> Record *_apppri_startList(Record *record)
{
    record->next = record;
    record->prev = record;
    return record;
}

/* Whether record, no sentinel, is in a list. */
template <typename Record> bool _apppri_isListed(const Record *record)
{
    return record->next != nullptr &&
           reinterpret_cast<uintptr_t>(record->next) != APPPRI_REMOVED_NEXT;
}

/* What a removed record points at; no address. */
template <typename Record> Record *_apppri_marker(uintptr_t value)
{
    return reinterpret_cast<Record *>(value); // NOLINT(performance-no-int-to-ptr)
}

template <typename Record> void _apppri_remove(Record *record)
{
    record->prev->next = record->next;
    record->next->prev = record->prev;
    record->next = _apppri_marker<Record>(APPPRI_REMOVED_NEXT);
    record->prev = _apppri_marker<Record>(APPPRI_REMOVED_PREV);
}

/* Puts record at the tail of list; one that is there already moves. */
template <typename Record> void _apppri_append(Record *list, Record *record)
{
    if (_apppri_isListed(record)) {
        _apppri_remove(record);
    }
    record->next = list;
    record->prev = list->prev;
    list->prev->next = record;
    list->prev = record;
}

/* Walk a list, which may be null: return the first record and the one behind record, or null. */
template <typename Record> Record *_apppri_next(const Record *list, const Record *record)
{
    return record->next != list ? record->next : nullptr;
}

template <typename Record> Record *_apppri_first(const Record *list)
{
    return list != nullptr ? _apppri_next(list, list) : nullptr;
}

#endif
