// tarn-db-tool fmt - an XML text, indented or compact.

#include "tool/commands.h"

#include "check/document.h"
#include "tool/file.h"
#include "tool/options.h"

#include <deque>
#include <expat.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tool
{

namespace
{

struct {
    std::string xml;
    bool compact = false;
    bool inPlace = false;
} arguments;

void declare(CLI::App &parser)
{
    addInput(parser, "XML", arguments.xml, "XML document");
    addFlag(parser, "--compact", arguments.compact, "Without whitespace between tags");
    addFlag(parser, "--in-place", arguments.inPlace,
            "Rewrite the file itself, comments and all, instead of what a device would read");
}

// A text and its layout: each tag, comment and the like on a line of its own, but for what stands
// beside text.
class Formatter
{
public:
    Formatter(std::string_view text, bool isCompact)
        : text_(text), isCompact_(isCompact), parser_(XML_ParserCreate("UTF-8"), XML_ParserFree)
    {
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(parser_.get(), onStart, onEnd);
        XML_SetDoctypeDeclHandler(parser_.get(), nullptr, onDoctypeEnd);
        XML_SetDefaultHandler(parser_.get(), onRest);
    }

    // Throws Failure for a file of this name.
    std::string format(const std::string &name)
    {
        if (XML_Parse(parser_.get(), text_.data(), static_cast<int>(text_.size()), 1) ==
            XML_STATUS_ERROR) {
            throw check::Failure(name, XML_ErrorString(XML_GetErrorCode(parser_.get())));
        }
        for (size_t i = 0; i < tokens_.size(); i++) {
            write(i);
            if (out_.size() > fileMax) {
                throw check::Failure(name, "is larger than " + std::to_string(fileMax) +
                                               " bytes when it is indented");
            }
        }
        return isCompact_ ? out_ : out_.substr(1) + "\n"; // the first line begins with a line end
    }

private:
    enum class Kind { Start, End, Text, Other };

    struct Token {
        Kind kind;
        std::string_view raw;
        bool holdsText = false; // of a start tag: in the element
    };

    static Formatter &self(void *formatter)
    {
        return *static_cast<Formatter *>(formatter);
    }

    static void onStart(void *formatter, const char * /*name*/, const char ** /*attributes*/)
    {
        Formatter &all = self(formatter);
        all.open_.push_back(all.tokens_.size());
        all.add(Kind::Start);
    }

    static void onEnd(void *formatter, const char * /*name*/)
    {
        self(formatter).open_.pop_back();
        self(formatter).addEnd();
    }

    static void onDoctypeEnd(void *formatter)
    {
        Formatter &all = self(formatter);
        const size_t end = all.text_.find('>', all.offset()) + 1;
        all.tokens_.push_back({Kind::Other, all.text_.substr(all.doctype_, end - all.doctype_)});
        all.doctype_ = std::string_view::npos;
    }

    static void onRest(void *formatter, const char * /*text*/, int /*length*/)
    {
        self(formatter).addRest();
    }

    size_t offset() const
    {
        return static_cast<size_t>(XML_GetCurrentByteIndex(parser_.get()));
    }

    std::string_view raw() const
    {
        const auto length = static_cast<size_t>(XML_GetCurrentByteCount(parser_.get()));
        return text_.substr(offset(), length);
    }

    void add(Kind kind)
    {
        tokens_.push_back({kind, raw()});
    }

    // The end of an empty-element tag takes no bytes.
    void addEnd()
    {
        if (raw().empty()) {
            tokens_.back().kind = Kind::Other;
        } else {
            add(Kind::End);
        }
    }

    void addRest()
    {
        if (raw() == "<!DOCTYPE") {
            doctype_ = offset();
        }
        const bool isMarkup = raw().substr(0, 4) == "<!--" || raw().substr(0, 2) == "<?";
        const bool isBlank = raw().find_first_not_of(" \t\r\n") == std::string_view::npos;
        if (doctype_ != std::string_view::npos || (open_.empty() && isBlank)) {
            return;
        }
        if (!isMarkup && !isBlank) {
            tokens_[open_.back()].holdsText = true;
        }
        const bool follows = !isMarkup && tokens_.back().kind == Kind::Text;
        if (follows) {
            std::string_view &text = tokens_.back().raw;
            text = {text.data(), text.size() + raw().size()};
        } else {
            add(isMarkup ? Kind::Other : Kind::Text);
        }
    }

    // An element that holds text is written as it is.
    void write(size_t index)
    {
        const Token &token = tokens_[index];
        const bool isInText = textDepth_ > 0;
        if (token.kind == Kind::End) {
            depth_--;
            textDepth_ -= isInText ? 1 : 0;
        }
        if (isInText) {
            out_ += token.raw;
        } else if (token.kind == Kind::End && wasStart_) {
            out_.insert(out_.size() - 1, "/"); // nothing is in it
        } else if (token.kind != Kind::Text) {
            startLine();
            out_ += token.raw;
        }
        wasStart_ = token.kind == Kind::Start || (wasStart_ && token.kind == Kind::Text);
        if (token.kind == Kind::Start) {
            depth_++;
            textDepth_ += isInText || token.holdsText ? 1 : 0;
        }
    }

    void startLine()
    {
        if (!isCompact_) {
            out_ += "\n" + std::string(2 * depth_, ' ');
        }
    }

    std::string_view text_;
    bool isCompact_;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser_;
    std::deque<Token> tokens_;
    std::vector<size_t> open_; // indices of the start tags of open elements
    size_t doctype_ = std::string_view::npos;
    std::string out_;
    size_t depth_ = 0;
    size_t textDepth_ = 0; // how many open elements are written as they are
    bool wasStart_ = false;
};

int run()
{
    const InputFile xml = readWholeFile(arguments.xml, fileMax);
    const check::Source source = readSource(xml);
    if (!arguments.inPlace) {
        writeStandardOutput(Formatter(source.text, arguments.compact).format(xml.name));
    } else if (arguments.xml == "-") {
        throw check::Failure(xml.name, "cannot be rewritten");
    } else {
        writeFile(arguments.xml, Formatter(source.shown(), arguments.compact).format(xml.name));
    }
    return 0;
}

} // namespace

const Command fmt = {"fmt", "Indent an XML document or make it compact", declare, run};

} // namespace tool
