// zimg reduces depth with dithering. Its pixels of one bit are bytes 0 and 1, and its matrix and kernel are its own,
// so that it is a rougher contender. It uses 512-bit instructions where the machine has them.
#include "../families.h"

#include <zimg.h>

#include <algorithm>
#include <memory>

namespace bench
{
namespace
{

// A page of bytes whose lines are aligned as zimg wants them.
struct Plane {
    static constexpr std::size_t stride = (pageWidth + 63) / 64 * 64;

    std::shared_ptr<uint8_t[]> bytes = allocate(stride * pageHeight);
};

zimg_image_format grayFormat(unsigned depth)
{
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = pageWidth;
    format.height = pageHeight;
    format.pixel_type = ZIMG_PIXEL_BYTE;
    format.pixel_range = ZIMG_RANGE_FULL;
    format.depth = depth;
    return format;
}

Run grayToBilevel(zimg_dither_type_e dither)
{
    const zimg_image_format from = grayFormat(8), to = grayFormat(1);
    zimg_graph_builder_params parameters;
    zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
    parameters.dither_type = dither;
    parameters.cpu_type = ZIMG_CPU_AUTO_64B;
    const std::shared_ptr<zimg_filter_graph> graph(zimg_filter_graph_build(&from, &to, &parameters),
                                                   zimg_filter_graph_free);
    std::size_t scratchBytes = 0;
    if (!graph || zimg_filter_graph_get_tmp_size(graph.get(), &scratchBytes) != ZIMG_ERROR_SUCCESS) {
        return [] { return false; };
    }
    const Plane source, destination;
    for (uint32_t y = 0; y < pageHeight; ++y) {
        const uint8_t* line = page(IMAGE_TYPE_256GRAY).line(y);
        std::copy(line, line + pageWidth, source.bytes.get() + y * Plane::stride);
    }
    return [=, scratch = allocate(scratchBytes)] {
        zimg_image_buffer_const input{};
        zimg_image_buffer output{};
        input.version = output.version = ZIMG_API_VERSION;
        input.plane[0] = {source.bytes.get(), std::ptrdiff_t(Plane::stride), ZIMG_BUFFER_MAX};
        output.plane[0] = {destination.bytes.get(), std::ptrdiff_t(Plane::stride), ZIMG_BUFFER_MAX};
        return zimg_filter_graph_process(graph.get(), &input, &output, scratch.get(), nullptr, nullptr, nullptr,
                                         nullptr) == ZIMG_ERROR_SUCCESS;
    };
}

void addConversionPeers(Operations& operations)
{
    const auto add = [&](const char* operation, zimg_dither_type_e dither) {
        operations.addPeer(
            operation, "zimg to bytes", [=] { return grayToBilevel(dither); }, Job::Rougher);
    };
    add("gray to bilevel, ordered 4 x 4", ZIMG_DITHER_ORDERED);
    add("gray to bilevel, ordered 8 x 8", ZIMG_DITHER_ORDERED);
    add("gray to bilevel, ordered 3 x 5", ZIMG_DITHER_ORDERED);
    add("gray to bilevel, diffusion", ZIMG_DITHER_ERROR_DIFFUSION);
}

} // namespace

std::string addZimg(Operations& operations)
{
    addConversionPeers(operations);
    unsigned major = 0, minor = 0, micro = 0;
    zimg_get_version_info(&major, &minor, &micro);
    return "zimg " + std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(micro);
}

} // namespace bench
