/*
 * Colour on a terminal.
 */
#ifndef CHECK_COLOUR_H
#define CHECK_COLOUR_H

#include <string>

namespace check
{

enum class Colour { Red = 31, Green = 32, Yellow = 33 };

/*
 * Whether the file descriptor is a terminal that may get colours: none does while the environment
 * variable NO_COLOR is there and not empty.
 */
bool showsColour(int descriptor);

/* text between the escape sequences for colour and for the default. */
std::string coloured(const std::string &text, Colour colour);

} // namespace check

#endif
