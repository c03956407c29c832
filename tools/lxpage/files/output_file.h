// An output file that appears whole or not at all: it is written under a temporary name in the same directory and
// renamed at the end.
#ifndef LXPAGE_FILES_OUTPUT_FILE_H
#define LXPAGE_FILES_OUTPUT_FILE_H

#include "error.h"

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

  private:
    std::string path_;
    std::string temporary_;
    bool committed_ = false;
};

// Have SIGINT, SIGTERM and SIGHUP remove the temporary file before they end the program.
void removeTemporaryOnSignals();

} // namespace lxpage

#endif
