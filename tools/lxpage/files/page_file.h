// Picture files as pages: one way in, whatever the format (told by the content), and one way out (told by the name).
//
// A format is one file, read_*.cpp or write_*.cpp, with one entry in the tables of page_file.cpp. Readers and writers
// throw a PageError that gives the bare reason; the functions here put "cannot read 'name'" in front.
#ifndef LXPAGE_FILES_PAGE_FILE_H
#define LXPAGE_FILES_PAGE_FILE_H

#include "files/output_file.h"
#include "image.h"

#include <cstdio>
#include <memory>
#include <string>

namespace lxpage
{

class PageSource
{
  public:
    virtual ~PageSource() = default;
    [[nodiscard]] virtual unsigned count() const { return 1; }
    // Each page can be read once.
    virtual Image read(unsigned index) = 0;
};

class PageSink
{
  public:
    virtual ~PageSink() = default;
    virtual void append(const Image& image) = 0;
    // Write what is still buffered; errors show up here at the latest.
    virtual void finish() = 0;
};

// Open a picture file of any known format.
std::unique_ptr<PageSource> openPages(const std::string& path);

// The first page of a file.
Image readPage(const std::string& path);

// Writes pages into a temporary file beside `path`, which takes its place in finish(): the picture appears whole or
// not at all.
class PageWriter
{
  public:
    // Throws a usage error if the name's extension is not known.
    explicit PageWriter(const std::string& path);
    void append(const Image& image);
    // Writes what is still buffered. What follows can hardly fail, so that several files may take their places
    // together.
    void close();
    // Closes the file unless that has been done, and puts it in its place.
    void finish();

  private:
    OutputFile file_;
    std::unique_ptr<PageSink> sink_;
};

void writePage(const std::string& path, const Image& image);

// With all that it lies in; one that exists already is fine.
void makeDirectory(const std::string& path);

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Throw a PageError with `code` that says what `errno` stands for.
[[noreturn]] void throwErrno(ExitCode code);

// Open for reading, or throw an Unreadable PageError with the system's reason.
File openForReading(const std::string& path);

std::unique_ptr<PageSource> openJpeg(const std::string& path);
std::unique_ptr<PageSource> openPng(const std::string& path);
std::unique_ptr<PageSource> openPnm(const std::string& path);
std::unique_ptr<PageSource> openTiff(const std::string& path);
std::unique_ptr<PageSink> createPng(const std::string& path);
std::unique_ptr<PageSink> createTiff(const std::string& path);

} // namespace lxpage

#endif
