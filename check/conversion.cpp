// XML as authors write it, and the subset of it that devices read.

#include "check/conversion.h"

#include "appmngr/appmngr.h"

#include <algorithm>
#include <expat.h>
#include <fmt/format.h>
#include <memory>
#include <string_view>

namespace check
{

namespace
{

using namespace std::string_literals;

bool isUtf16(const std::string &text)
{
    const int encoding =
        appmngr_checkEncoding(text.data(), static_cast<uint32_t>(std::min<size_t>(text.size(), 3)));
    const std::string start = text.substr(0, 2);
    return encoding == APPMNGR_BOM_UTF16LE || encoding == APPMNGR_BOM_UTF16BE || start == "<\0"s ||
           start == "\0<"s;
}

bool isBlank(std::string_view text)
{
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

// How a byte is written in a text or an attribute value.
std::string escaped(char byte)
{
    switch (byte) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    default:
        return {byte};
    }
}

class Converter
{
public:
    explicit Converter(const std::string &text)
        : text_(text), parser_(XML_ParserCreate("UTF-8"), XML_ParserFree)
    {
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(parser_.get(), onStart, onEnd);
        XML_SetCharacterDataHandler(parser_.get(), onText);
        XML_SetDefaultHandler(parser_.get(), onRest);
        XML_SetEntityDeclHandler(parser_.get(), onEntity);
        XML_SetSkippedEntityHandler(parser_.get(), onUnknownEntity);
    }

    Conversion convert()
    {
        if (isUtf16(text_)) {
            explain(0, "the text is UTF-16; it must be UTF-8");
        } else if (XML_Parse(parser_.get(), text_.data(), static_cast<int>(text_.size()), 1) ==
                       XML_STATUS_ERROR &&
                   !result_.fault) {
            explainError(XML_GetErrorCode(parser_.get()));
        }
        return std::move(result_);
    }

private:
    struct Element {
        std::string name;
        size_t offset;
    };

    static Converter &self(void *converter)
    {
        return *static_cast<Converter *>(converter);
    }

    static void onStart(void *converter, const char *name, const char **attributes)
    {
        self(converter).addStart(name, attributes);
    }

    static void onEnd(void *converter, const char *name)
    {
        self(converter).addEnd(name);
    }

    static void onText(void *converter, const char *text, int length)
    {
        self(converter).addText({text, static_cast<size_t>(length)});
    }

    static void onRest(void *converter, const char * /*text*/, int /*length*/)
    {
        self(converter).addRest();
    }

    static void onEntity(void *converter, const char *name, int /*isParameter*/,
                         const char * /*value*/, int /*length*/, const char * /*base*/,
                         const char * /*system*/, const char * /*publicId*/,
                         const char * /*notation*/)
    {
        self(converter).stop("the entity " + inQuotes(name) +
                             " is declared; entities are not supported");
    }

    static void onUnknownEntity(void *converter, const char *name, int /*isParameter*/)
    {
        self(converter).stop("the entity " + inQuotes(name) + " is unknown");
    }

    size_t offset() const
    {
        return static_cast<size_t>(XML_GetCurrentByteIndex(parser_.get()));
    }

    // What is at hand, as it is written.
    std::string_view raw() const
    {
        const auto length = static_cast<size_t>(XML_GetCurrentByteCount(parser_.get()));
        return {text_.data() + offset(), length};
    }

    void append(std::string_view text, size_t from)
    {
        const size_t at = result_.text.size();
        const bool follows = !result_.pieces.empty() &&
                             result_.pieces.back().from - from == result_.pieces.back().at - at;
        if (!follows) {
            result_.pieces.push_back({at, from});
        }
        result_.text += text;
    }

    void addStart(const std::string &name, const char **attributes)
    {
        if (open_.size() == deepest) {
            stop("elements are nested more than " + std::to_string(deepest) + " deep");
            return;
        }
        open_.push_back({name, offset()});
        const int count = XML_GetSpecifiedAttributeCount(parser_.get());
        std::string tag = "<" + name;
        for (int i = 0; i < count; i += 2) {
            tag += std::string(" ") + attributes[i] + "=\"";
            for (const char *byte = attributes[i + 1]; *byte != '\0'; byte++) {
                tag += escaped(*byte);
            }
            tag += '"';
        }
        const bool isEmpty = raw().substr(raw().size() - 2) == "/>";
        append(tag + (isEmpty ? "/>" : ">"), offset());
    }

    // The end of an empty-element tag takes no bytes.
    void addEnd(const std::string &name)
    {
        open_.pop_back();
        if (!raw().empty()) {
            append("</" + name + ">", offset());
        }
    }

    void addText(std::string_view text)
    {
        const bool isVerbatim = raw().size() == text.size();
        for (size_t i = 0; i < text.size(); i++) {
            append(text[i] == '"' ? "\"" : escaped(text[i]), offset() + (isVerbatim ? i : 0));
        }
    }

    void addRest()
    {
        constexpr struct {
            const char *start;
            const char *name;
        } kinds[] = {
            {"<!--", "comments"},
            {"<![", "CDATA sections"},
            {"<!DOCTYPE", "document types"},
            {"<?", "processing instructions"},
        };
        const bool isDeclaration = offset() <= bomSize && startsWith(raw(), "<?xml");
        if (isBlank(raw()) || isDeclaration) {
            append(raw(), offset());
            return;
        }
        for (const auto &kind : kinds) {
            if (!result_.foreign && startsWith(raw(), kind.start)) {
                result_.foreign = {offset(),
                                   std::string(kind.name) + " are not supported in an image"};
            }
        }
    }

    void explain(size_t at, const std::string &message, const std::optional<Note> &note = {})
    {
        result_.fault = {at, message, note};
        result_.isExplained = true;
    }

    void stop(const std::string &message)
    {
        explain(offset(), message);
        XML_StopParser(parser_.get(), XML_FALSE);
    }

    void explainError(XML_Error error)
    {
        const size_t at = std::min(offset(), text_.size());
        if (error == XML_ERROR_TAG_MISMATCH) {
            const size_t tag = text_.rfind("</", at);
            const std::string end = text_.substr(tag, text_.find('>', tag) + 1 - tag);
            explain(tag, inQuotes(open_.back().name) + " is closed by " + inQuotes(end), opening());
        } else if (at == text_.size() && !open_.empty()) {
            explain(at, "the text ends within " + inQuotes(open_.back().name), opening());
        } else if (at < text_.size() && (text_[at] & 0x80) != 0) {
            explain(at, notUtf8(text_[at]));
        } else {
            result_.fault = {at, XML_ErrorString(error)};
        }
    }

    Note opening() const
    {
        return {open_.back().offset, inQuotes(open_.back().name) + " is opened here"};
    }

    static constexpr size_t bomSize = 3;
    static constexpr size_t deepest = 1000; // open elements; a database has 8

    const std::string &text_;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser_;
    std::vector<Element> open_;
    Conversion result_;
};

} // namespace

Conversion convert(const std::string &text)
{
    return Converter(text).convert();
}

std::string notUtf8(char byte)
{
    return fmt::format("the byte 0x{:02X} is not UTF-8; the text may be Latin-1",
                       static_cast<unsigned char>(byte));
}

} // namespace check
