/*
 * The linter: checks databases, images and update containers, and reports what it found.
 */
#ifndef CHECK_CHECK_H
#define CHECK_CHECK_H

#include "check/database.h"
#include "check/location.h"

#include <array>
#include <cstddef>
#include <deque>
#include <map>
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

/*
 * An error makes the loader fail or lose data; a warning is about what is suspicious. What is off
 * is not reported.
 */
enum class Severity { Error, Warning, Off };

struct CheckDescription {
    Check check;
    Severity severity;
    const char *name;
    const char *sentence;
};

const CheckDescription &describe(Check check);

/* All of them, in the order of Check. */
std::vector<CheckDescription> allChecks();

/* The severity with which each check is reported, at first that of its description. */
class Severities
{
public:
    Severities();
    Severity of(Check check) const;

    /* Sets one: "NAME=off", "=warning" or "=error". Returns what is wrong with that, or "". */
    std::string set(const std::string &assignment);

    void turnWarningsIntoErrors();

private:
    std::vector<Severity> severities_;
};

/* A second place that a finding is about. */
struct Note {
    size_t offset;
    std::string message;
};

/* What to write in the place of size bytes. */
struct Fix {
    size_t offset;
    size_t size;
    std::string text;
};

struct Finding {
    Check check;
    size_t offset; /* in the text as it is written, in bytes, like those of note and fix */
    std::string message;
    std::optional<Note> note = {};
    std::optional<Fix> fix = {};
};

/* A part of a text: where it begins, and where it does in the text as it is written. */
struct Piece {
    size_t at;
    size_t from;
};

/* A text of a file; or the file around its texts, then without a text of its own. */
struct Source {
    std::string file;
    std::string database;      /* which one of an image or container; empty for a file as a whole */
    std::string text;          /* as a device reads it */
    bool isWritten = false;    /* by an author, who may use more of XML than devices read */
    std::string original = {}; /* the text as it is written, if that differs */
    std::vector<Piece> pieces = {};
    std::vector<Finding> findings = {};
    std::map<Check, size_t> counts = {}; /* of all findings; of each check the first 100 are kept */

    /* The text that findings are shown in, and where an offset of text is in it. */
    const std::string &shown() const;
    size_t shownOffset(size_t offset) const;

    /* Adds a finding at an offset of text, with a fix in its terms. */
    void add(Check check, size_t offset, const std::string &message,
             const std::optional<Fix> &fix = {});

    /* Adds one in the terms of the text that is shown. */
    void addShown(const Finding &finding);

    /* Whether more findings of a check are counted, but not kept. */
    bool isFull(Check check) const;
    bool hasErrors() const;
};

/*
 * Checks XML texts, images and update containers, whichever each file looks like. The databases in
 * an image or container are held against each other, and so are the XML texts. Adds what is found
 * to sources.
 */
void checkFiles(const std::vector<InputFile> &files, std::deque<Source> &sources);

/* The texts of the databases, in the order of their table, that make one image or container. */
using Texts = std::array<std::optional<InputFile>, 2>;

/*
 * Checks texts that are still to be packed, and converts them to what devices read. Adds what is
 * found to sources.
 */
void checkTexts(Texts &texts, std::deque<Source> &sources);

/* Checks a file that should be an update container, and the databases in it. */
void checkContainer(const InputFile &file, std::deque<Source> &sources);

struct Report {
    std::string text;
    size_t errors = 0;
    size_t warnings = 0;
};

/* As a compiler does. */
Report reportAsText(const std::deque<Source> &sources, const Severities &severities, bool inColour);

/* The same as one JSON document. */
Report reportAsJson(const std::deque<Source> &sources, const Severities &severities);

/* The same as a log in the Static Analysis Results Interchange Format (SARIF) 2.1.0. */
Report reportAsSarif(const std::deque<Source> &sources, const Severities &severities);

/* The text of source as it is written, with the fixes of all findings that are not off. */
std::string fixedText(const Source &source, const Severities &severities);

/* The checks, one on a line; or as a JSON document. */
std::string listChecks(bool wantsJson);

/* What the documentation says of a check, as Markdown; empty for a name that no check has. */
std::string explainCheck(const std::string &name);

} // namespace check

#endif
