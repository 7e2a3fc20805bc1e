// What is done with an element that a table of steps knows.

#include "apppri/apppri_internal.h"

#include "appmngr/appmngr.h"
#include "apppri/diagnostic.h"

#include <string.h>

static char *field(const apppri_target *target, const apppri_step *step)
{
    return static_cast<char *>(target->record) + step->offset;
}

int _apppri_takeNumber(const XmlpNode *node, apppri_target *target, const apppri_step *step)
{
    int32_t number;
    if (appmngr_getNodeInt(node, &number) != 0) {
        return -1;
    }
    memcpy(field(target, step), &number, sizeof number);
    return 0;
}

int _apppri_takeText(const XmlpNode *node, apppri_target *target, const apppri_step *step)
{
    return appmngr_getNodeString(node, field(target, step), step->size);
}

int _apppri_takeBytes(const XmlpNode *node, apppri_target *target, const apppri_step *step)
{
    const char *text = appmngr_getNodeValue(node);
    if (text == nullptr) {
        return -1;
    }
    memset(field(target, step), 0, step->size);
    memcpy(field(target, step), text, strnlen(text, step->size));
    return 0;
}

int _apppri_takeSteps(const char *function, const apppri_step *steps, const char *tag,
                      const XmlpNode *node, apppri_target *target)
{
    int taken = 0;
    for (const apppri_step *step = steps; step->tag != nullptr; ++step) {
        if (appmngr_strcasecmpSafe(tag, step->tag) != 0) {
            continue;
        }
        if (step->take(node, target, step) != 0) {
            _apppri_report(function, step->line, step->message, target->sortCount);
            return -1;
        }
        ++taken;
    }
    return taken;
}
