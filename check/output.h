/*
 * What the output of a program can be: JSON, and in colour on a terminal.
 */
#ifndef CHECK_OUTPUT_H
#define CHECK_OUTPUT_H

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

namespace check
{

using Json = nlohmann::ordered_json;

/*
 * The text of document. Invalid UTF-8, such as a character cut at the end of its field, becomes
 * U+FFFD.
 */
std::string jsonText(const Json &document, int indent = -1);

enum class Colour { Red = 31, Green = 32, Yellow = 33 };

/*
 * Whether the file descriptor is a terminal that may get colours: none does while the environment
 * variable NO_COLOR is there and not empty.
 */
bool showsColour(int descriptor);

/*
 * text as it can be shown: control characters, those that change the direction of what follows, and
 * bytes that are not UTF-8 are written as escape sequences, so that no file steers a terminal.
 */
std::string printable(std::string_view text);

/* text between the escape sequences for colour and for the default. */
std::string coloured(const std::string &text, Colour colour);

} // namespace check

#endif
