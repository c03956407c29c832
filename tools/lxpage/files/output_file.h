// An output file that appears whole or not at all: it is written under a temporary name in the same directory and
// renamed at the end.
#ifndef LXPAGE_FILES_OUTPUT_FILE_H
#define LXPAGE_FILES_OUTPUT_FILE_H

#include "error.h"

#include <atomic>
#include <new>
#include <string>

namespace lxpage
{

class OutputFile
{
  public:
    // Creates the empty temporary file, so that an unwritable directory shows before any work is done.
    explicit OutputFile(std::string path);
    // Removes the temporary file unless it has been committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    [[nodiscard]] const std::string& temporary() const { return temporary_; }
    // Put the temporary file in the place of the path.
    void commit();

    // Runs `step` and puts "cannot write 'path'" in front of its complaint.
    template <typename Step>
    void writing(Step step) const
    {
        try {
            step();
        } catch (const PageError& error) {
            throw PageError(error.code(), "cannot write '" + path_ + "': " + error.what());
        } catch (const std::bad_alloc&) {
            throw PageError(ExitCode::TooLarge, "cannot write '" + path_ + "': not enough memory");
        }
    }

    // A signal handler.
    static void removeAllAndDie(int signal);

  private:
    void enlist();
    void delist();

    // All files in the making, as a list that a signal handler can walk at any moment.
    static std::atomic<OutputFile*> first;
    std::atomic<OutputFile*> next_ = nullptr;

    std::string path_;
    std::string temporary_;
    bool committed_ = false;
};

// Has the signals that end a program from outside remove the temporary files first, and those that end one over a
// write ignored, so that the write fails. For the start of the program.
void prepareForSignals();

} // namespace lxpage

#endif
