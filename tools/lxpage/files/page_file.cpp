#include "files/page_file.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

namespace lxpage
{

namespace
{

using namespace std::string_view_literals;

struct InputFormat {
    std::string_view magic;
    std::unique_ptr<PageSource> (*open)(const std::string& path);
};

constexpr InputFormat inputFormats[] = {
    {"\x89PNG\r\n\x1a\n"sv, openPng},
    {"\xff\xd8\xff"sv, openJpeg},
    {"II*\0"sv, openTiff},
    {"MM\0*"sv, openTiff},
    {"II+\0"sv, openTiff},
    {"MM\0+"sv, openTiff},
    {"P1"sv, openPnm},
    {"P2"sv, openPnm},
    {"P3"sv, openPnm},
    {"P4"sv, openPnm},
    {"P5"sv, openPnm},
    {"P6"sv, openPnm},
};

struct OutputFormat {
    std::string_view extension;
    std::unique_ptr<PageSink> (*create)(const std::string& path);
};

constexpr OutputFormat outputFormats[] = {
    {".png", createPng},
    {".tif", createTiff},
    {".tiff", createTiff},
};

constexpr std::string_view kKnownInputs = "the tool reads TIFF, PNG, JPEG and PNM";

const OutputFormat& outputFormatOf(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    for (const OutputFormat& format : outputFormats) {
        if (format.extension == extension) {
            return format;
        }
    }
    throw PageError(ExitCode::Usage,
                    "cannot tell the format of '" + path + "': the name must end in .png, .tif or .tiff");
}

// Runs `step` and puts "cannot read 'path'" in front of its complaint.
template <typename Step>
auto reading(const std::string& path, Step step)
{
    try {
        return step();
    } catch (const PageError& error) {
        throw PageError(error.code(), "cannot read '" + path + "': " + error.what());
    } catch (const std::bad_alloc&) {
        throw PageError(ExitCode::TooLarge, "cannot read '" + path + "': not enough memory");
    }
}

class NamedSource : public PageSource
{
  public:
    NamedSource(std::string path, std::unique_ptr<PageSource> source)
        : path_(std::move(path)), source_(std::move(source))
    {
    }
    [[nodiscard]] unsigned count() const override { return source_->count(); }
    Image read(unsigned index) override
    {
        return reading(path_, [&] { return source_->read(index); });
    }

  private:
    std::string path_;
    std::unique_ptr<PageSource> source_;
};

std::unique_ptr<PageSource> openByContent(const std::string& path)
{
    std::array<char, 8> head{};
    const File file = openForReading(path);
    if (std::fseek(file.get(), 0, SEEK_SET) != 0) {
        throw PageError(ExitCode::Unreadable, "a pipe or device can be read only once; store the picture in a file");
    }
    const size_t length = std::fread(head.data(), 1, head.size(), file.get());
    if (std::ferror(file.get())) {
        throwErrno(ExitCode::Unreadable);
    }
    if (length == 0) {
        throw PageError(ExitCode::Damaged, "the file is empty");
    }
    const std::string_view start(head.data(), length);
    for (const InputFormat& format : inputFormats) {
        if (start.starts_with(format.magic)) {
            return format.open(path);
        }
        if (format.magic.starts_with(start)) {
            throw PageError(ExitCode::Damaged, "the file ends within its first bytes");
        }
    }
    throw PageError(ExitCode::Unsupported, "not a picture of a known format; " + std::string(kKnownInputs));
}

} // namespace

void throwErrno(ExitCode code)
{
    throw PageError(code, std::strerror(errno));
}

File openForReading(const std::string& path)
{
    File file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        throwErrno(ExitCode::Unreadable);
    }
    return file;
}

std::unique_ptr<PageSource> openPages(const std::string& path)
{
    return reading(path, [&] { return std::make_unique<NamedSource>(path, openByContent(path)); });
}

Image readPage(const std::string& path)
{
    return openPages(path)->read(0);
}

PageWriter::PageWriter(const std::string& path) : file_((outputFormatOf(path), path))
{
    file_.writing([&] { sink_ = outputFormatOf(path).create(file_.temporary()); });
}

void PageWriter::append(const Image& image)
{
    file_.writing([&] { sink_->append(image); });
}

void PageWriter::close()
{
    file_.writing([&] { sink_->finish(); });
    sink_.reset();
}

void PageWriter::finish()
{
    if (sink_) {
        close();
    }
    file_.commit();
}

void writePage(const std::string& path, const Image& image)
{
    PageWriter writer(path);
    writer.append(image);
    writer.finish();
}

void makeDirectory(const std::string& path)
{
    std::error_code failure;
    std::filesystem::create_directories(path, failure);
    if (failure) {
        throw PageError(ExitCode::WriteFailed, "cannot make '" + path + "': " + failure.message());
    }
}

} // namespace lxpage
