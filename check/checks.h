/*
 * The rules of tarn-db-tool check.
 */
#ifndef CHECK_CHECKS_H
#define CHECK_CHECKS_H

#include <vector>

namespace check
{

/* In the order of the table that describes them. */
enum class Rule {
    UnknownFormat,
    ContainerLength,
    ContainerDigest,
    ContainerCount,
    FileDigest,
    FileVersion,
    FileMagic,
    FileReserved,
    ImageLength,
    ImageSize,
    TextSize,
    RefusedText,
    WrongRoot,
    LongValue,
    CutText,
    BadTuple,
    UnknownType,
    AppIdRange,
    MissingId,
    LateId,
    NoApplication,
    NoType,
    NoTuple,
    NoDnsKeyword,
    TooManyTypes,
    TooManyRules,
    UncountedRecord,
    RefusedElement,
    CountMismatch,
    BadExpiry,
    NoSort,
    UnlistedSort,
    UnlistedApp,
    LoaderLine,
    ImageCut,
    ImageDamaged,
    UnknownElement,
    MisplacedElement,
    RepeatedElement,
    EmptyElement,
    StrayText,
    IgnoredAttribute,
    BadNumber,
    PortRange,
    DuplicateAppId,
    DuplicateTypeId,
    RuleWithoutTuple,
    UnusedType,
    AppWithoutRules,
    PriorityRange,
    UnknownApp,
    JsonUnsafe,
    UnclearExpiry,
    PastExpiry,
};

/* An error makes the loader fail or lose data; a warning is about what is suspicious. */
enum class Severity { Error, Warning };

struct RuleDescription {
    Rule rule;
    Severity severity;
    const char *name;
    const char *sentence;
};

const RuleDescription &describe(Rule rule);

/* All of them, in the order of Rule. */
std::vector<RuleDescription> allRules();

} // namespace check

#endif
