/*
 * Where the product's diagnostic lines go.
 */
#ifndef CHECK_DIAGNOSTICS_H
#define CHECK_DIAGNOSTICS_H

namespace check
{

/*
 * The product's libraries report on standard output. While an object of one of these classes
 * lives, what is written there goes elsewhere, so that it does not mix with a subcommand's output.
 */
class RedirectedDiagnostics
{
public:
    RedirectedDiagnostics(const RedirectedDiagnostics &) = delete;
    RedirectedDiagnostics &operator=(const RedirectedDiagnostics &) = delete;

protected:
    /* Takes over the descriptor when that is not standard error. */
    explicit RedirectedDiagnostics(int descriptor);
    ~RedirectedDiagnostics();

private:
    int standardOutput_;
};

class DiagnosticsOnStandardError : public RedirectedDiagnostics
{
public:
    DiagnosticsOnStandardError();
};

/* For what is no news to anybody who runs the tool. */
class DiscardedDiagnostics : public RedirectedDiagnostics
{
public:
    DiscardedDiagnostics();
};

} // namespace check

#endif
