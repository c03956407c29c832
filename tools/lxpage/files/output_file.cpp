#include "files/output_file.h"

#include "files/page_file.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace lxpage
{

namespace
{

// Name of the temporary file in the making, for the signal handler. The tool writes one file at a time.
char pendingPath[4096];
std::atomic<bool> pending = false;

extern "C" void removePendingAndDie(int signal)
{
    if (pending) {
        unlink(pendingPath);
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void setPending(const std::string& path)
{
    pending = false;
    if (path.size() < sizeof pendingPath) {
        std::memcpy(pendingPath, path.c_str(), path.size() + 1);
        pending = true;
    }
}

std::string temporaryFor(const std::string& path)
{
    const std::filesystem::path whole(path);
    std::error_code failure;
    const auto status = std::filesystem::status(whole, failure);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw PageError(ExitCode::WriteFailed, "it exists and is not a regular file");
    }
    const std::string stem = "." + whole.filename().string() + ".lxpage-" + std::to_string(getpid()) + "-";
    for (unsigned attempt = 0;; ++attempt) {
        const std::string name = (whole.parent_path() / (stem + std::to_string(attempt))).string();
        // "x" refuses a file that exists; the file gets the permissions that the user's mask leaves.
        if (std::FILE* file = std::fopen(name.c_str(), "wbx")) {
            std::fclose(file);
            return name;
        }
        if (errno != EEXIST) {
            throwErrno(ExitCode::WriteFailed);
        }
    }
}

} // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path))
{
    writing([&] { temporary_ = temporaryFor(path_); });
    setPending(temporary_);
}

OutputFile::~OutputFile()
{
    if (!committed_) {
        std::remove(temporary_.c_str());
        pending = false;
    }
}

void OutputFile::commit()
{
    writing([&] {
        if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
            throwErrno(ExitCode::WriteFailed);
        }
    });
    committed_ = true;
    pending = false;
}

void removeTemporaryOnSignals()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (std::signal(signal, removePendingAndDie) == SIG_IGN) {
            std::signal(signal, SIG_IGN); // as under nohup
        }
    }
}

} // namespace lxpage
