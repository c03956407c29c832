#include "files/output_file.h"

#include "files/page_file.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <unistd.h>

namespace lxpage
{

namespace
{

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
        std::string name = (whole.parent_path() / (stem + std::to_string(attempt))).string();
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

std::atomic<OutputFile*> OutputFile::first = nullptr;

OutputFile::OutputFile(std::string path) : path_(std::move(path))
{
    writing([&] { temporary_ = temporaryFor(path_); });
    enlist();
}

OutputFile::~OutputFile()
{
    if (!committed_) {
        std::remove(temporary_.c_str());
        delist();
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
    delist();
}

void OutputFile::enlist()
{
    next_ = first.load();
    first = this;
}

void OutputFile::delist()
{
    std::atomic<OutputFile*>* link = &first;
    while (*link != this) {
        link = &link->load()->next_;
    }
    *link = next_.load();
}

void OutputFile::removeAllAndDie(int signal)
{
    for (const OutputFile* file = first; file; file = file->next_) {
        unlink(file->temporary_.c_str());
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void prepareForSignals()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        if (std::signal(signal, OutputFile::removeAllAndDie) == SIG_IGN) {
            std::signal(signal, SIG_IGN); // as under nohup
        }
    }
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        std::signal(signal, SIG_IGN);
    }
}

} // namespace lxpage
