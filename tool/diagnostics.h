/*
 * Where the product's diagnostic lines go.
 */
#ifndef TOOL_DIAGNOSTICS_H
#define TOOL_DIAGNOSTICS_H

namespace tool
{

/*
 * The product's libraries report on standard output. While an object of this class lives, what
 * is written there goes to standard error, so that it does not mix with a subcommand's output.
 */
class DiagnosticsOnStandardError
{
public:
    DiagnosticsOnStandardError();
    ~DiagnosticsOnStandardError();
    DiagnosticsOnStandardError(const DiagnosticsOnStandardError &) = delete;
    DiagnosticsOnStandardError &operator=(const DiagnosticsOnStandardError &) = delete;

private:
    int standardOutput_;
};

} // namespace tool

#endif
