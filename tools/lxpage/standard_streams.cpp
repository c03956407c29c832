#include "standard_streams.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace lxpage
{

namespace
{

ExitCode say(ExitCode code, const char* message)
{
    if (*message != '\0') {
        std::fprintf(stderr, "lxpage: %s\n", message);
    }
    return code;
}

} // namespace

void occupyClosedStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1) {
            // The lowest free number, which is this one. Opened the wrong way round, so that use still fails.
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

void flushOutput()
{
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        const std::string reason = errno == 0 ? "" : std::string(": ") + std::strerror(errno);
        throw PageError(ExitCode::WriteFailed, errno == EPIPE ? "" : "cannot write the standard output" + reason);
    }
}

ExitCode complain()
{
    std::fflush(stdout);
    try {
        throw;
    } catch (const PageError& error) {
        return say(error.code(), error.what());
    } catch (const std::bad_alloc&) {
        return say(ExitCode::TooLarge, "out of memory");
    } catch (const std::exception& error) {
        return say(ExitCode::Internal, error.what());
    }
}

} // namespace lxpage
