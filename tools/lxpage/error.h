// How the tool fails: one exception type carrying the exit code and the whole message for the user.
#ifndef LXPAGE_ERROR_H
#define LXPAGE_ERROR_H

#include <stdexcept>
#include <string>

namespace lxpage
{

// Exit codes of the program, listed in `lxpage --help`: scripts may rely on them.
enum class ExitCode : int {
    Done = 0,
    Internal = 1,    // a defect of the tool or the library
    Usage = 2,       // wrong arguments
    Unreadable = 3,  // the input is missing or may not be read
    Damaged = 4,     // the input is truncated or corrupt
    Unsupported = 5, // the input is sound, but of a kind the tool does not read
    TooLarge = 6,    // beyond the tool's limits, or out of memory
    WriteFailed = 7, // the output, a file or what is printed, could not be written
};

// An empty message says nothing: the user knows already.
class PageError : public std::runtime_error
{
  public:
    PageError(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
    [[nodiscard]] ExitCode code() const noexcept { return code_; }

  private:
    ExitCode code_;
};

} // namespace lxpage

#endif
