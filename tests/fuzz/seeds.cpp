// Writes the inputs that fuzzing starts from: fuzz_seeds DIRECTORY makes the subdirectories `operations` (drawn
// choices for every function) and `files` (small sound pictures of every kind).

#include "picture_files.h"
#include "support/random.h"

#include <filesystem>
#include <fstream>
#include <png.h>
#include <string>

namespace
{

void write(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

void writeChoices(const std::filesystem::path& directory)
{
    lxtest::Random random(1);
    for (unsigned k = 0; k < 256; ++k) {
        std::string bytes(400, '\0');
        random.fill(reinterpret_cast<uint8_t*>(bytes.data()), bytes.size());
        bytes[0] = static_cast<char>(k);
        write(directory / std::to_string(k), bytes);
    }
}

void writePictures(const std::filesystem::path& directory)
{
    using namespace lxpage;
    const auto path = [&](const char* name) { return (directory / name).string(); };
    writePngFile(path("gray.png"), {"", PNG_COLOR_TYPE_GRAY, 2});
    writePngFile(path("deep.png"), {"", PNG_COLOR_TYPE_GRAY_ALPHA, 16});
    writePngFile(path("color.png"), {"", PNG_COLOR_TYPE_RGB_ALPHA, 8, true});
    writePngFile(path("palette.png"), {"", PNG_COLOR_TYPE_PALETTE, 4, false, true});
    writeJpegFile(path("gray.jpg"), 1, false);
    writeJpegFile(path("color.jpg"), 3, true);
    const TiffSpec specs[] = {{"plain.tif", 8, 3, PHOTOMETRIC_RGB},
                              {"planar.tif", 16, 3, PHOTOMETRIC_RGB, COMPRESSION_LZW, false, true},
                              {"group4.tif", 1, 1, PHOTOMETRIC_MINISWHITE, COMPRESSION_CCITTFAX4},
                              {"tiles.tif", 4, 1, PHOTOMETRIC_MINISBLACK, COMPRESSION_LZW, true},
                              {"palette.tif", 8, 1, PHOTOMETRIC_PALETTE, COMPRESSION_PACKBITS}};
    for (const TiffSpec& spec : specs)
        writeTiffPage(path(spec.name), spec);
    const char* const texts[] = {"P1 # bits\n3 2\n1 0 1\n011\n", "P2\n2 2\n15\n0 7 15 3\n",
                                 "P3 1 2 255 1 2 3 4 5 6\n",     "P4\n9 1\n\xAA\x80",
                                 "P5 3 1 65535\nabcdef",         "P6\n1 2\n255\nabcdef"};
    for (unsigned k = 0; k < std::size(texts); ++k)
        write(directory / (std::to_string(k) + ".pnm"), texts[k]);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    const std::filesystem::path directory = argv[1];
    std::filesystem::create_directories(directory / "operations");
    std::filesystem::create_directories(directory / "files");
    writeChoices(directory / "operations");
    writePictures(directory / "files");
    return 0;
}
