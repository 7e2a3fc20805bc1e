/*
 * The linter: checks databases, images and update containers, and reports what it found.
 */
#ifndef CHECK_CHECK_H
#define CHECK_CHECK_H

#include "check/database.h"

#include <array>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace check
{

/* In the order of the table that describes them. */
enum class Check {
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
    RejectedText,
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
    PortRange,
    RejectedElement,
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
    NotUtf8,
    NearLimit,
    MissingVersion,
    MissingName,
    VisibleRange,
    DuplicateAppId,
    DuplicateTypeId,
    RuleWithoutTuple,
    UnusedType,
    AppWithoutRules,
    DuplicateTuple,
    CoveredTuple,
    CatchAllTuple,
    IcmpPort,
    DuplicateKeyword,
    SegmentRange,
    NoPattern,
    BadHex,
    UnusualDpiType,
    PriorityRange,
    UnknownApp,
    JsonUnsafe,
    UnclearExpiry,
    PastExpiry,
};

/* An error makes the loader fail or lose data; a warning is about what is suspicious. */
enum class Severity { Error, Warning };

struct CheckDescription {
    Check check;
    Severity severity;
    const char *name;
    const char *sentence;
};

const CheckDescription &describe(Check check);

/* All of them, in the order of Check. */
std::vector<CheckDescription> allChecks();

struct Finding {
    Check check;
    size_t offset; /* in the text, in bytes */
    std::string message;
};

/* The beginning of text in quotes, for a message. */
std::string inQuotes(std::string_view text);

/* A text of a file; or the file around its texts, then without a text of its own. */
struct Source {
    std::string file;
    std::string database; /* which one of an image or container; empty for a file as a whole */
    std::string text;
    std::vector<Finding> findings;

    void add(Check check, size_t offset, const std::string &message);
    bool hasErrors() const;
};

/*
 * Checks an XML text, an image or an update container, whichever the file looks like. Adds what is
 * found to sources.
 */
void checkFile(const InputFile &file, std::deque<Source> &sources);

/* The texts of the databases, in the order of their table, that make one image or container. */
using Texts = std::array<std::optional<InputFile>, 2>;

/* Checks texts that are still to be packed. Adds what is found to sources. */
void checkTexts(const Texts &texts, std::deque<Source> &sources);

/* Checks a file that should be an update container, and the databases in it. */
void checkContainer(const InputFile &file, std::deque<Source> &sources);

struct Report {
    std::string text;
    size_t errors = 0;
    size_t warnings = 0;
};

/* As a compiler does; warningsAreErrors turns every warning into an error. */
Report reportAsText(const std::deque<Source> &sources, bool warningsAreErrors, bool inColour);

/* The same as one JSON document. */
Report reportAsJson(const std::deque<Source> &sources, bool warningsAreErrors);

/* The checks, one on a line; or as a JSON document. */
std::string listChecks(bool wantsJson);

} // namespace check

#endif
