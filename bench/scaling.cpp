// Changes of size of gray and colour pages, and thumbnails. Times of enlargements are per destination pixel.
#include "families.h"

#include <memory>
#include <string>

namespace bench
{
namespace
{

constexpr uint16_t sampling = 0, averaging = 1, interpolation = 2;

// A page of another resolution than 300 dpi.
Shape atDpi(uint16_t type, uint32_t dpi)
{
    return {type, (pageWidth * dpi + 150) / 300, (pageHeight * dpi + 150) / 300};
}

AreaWork scale(uint16_t method)
{
    return [method](const ImageArea* source, const ImageArea* destination) {
        return lxResolutionConvert(method, source, destination, nullptr);
    };
}

void addScaling(Operations& operations, const std::string& name, uint16_t type, uint16_t method, uint32_t dpi,
                Goal goal = {})
{
    const Shape target = atDpi(type, dpi);
    const std::string full = name + ", 300 to " + std::to_string(dpi) + " dpi";
    if (dpi < 300) {
        operations.add(full, {type}, target, goal, scale(method));
        return;
    }
    const auto prepare = [type, target, work = scale(method)]() -> Run {
        return [&from = page(type), to = Picture(target), work] {
            return work(from.area(), to.area()) == IMAGE_STATUS_OK;
        };
    };
    operations.add({full, bytesOf({type}), bytesOf(target), goal, prepare, double(target.width) * target.height});
}

// Goals are for a source pixel, and the floor here reads all of the source: thumbnails can be below it.
void addThumbnail(Operations& operations, const std::string& name, uint16_t type, Goal goal = {})
{
    const auto prepare = [type]() -> Run {
        const Picture& source = page(type);
        ImageArea thumbnail{}, work[2]{};
        thumbnail.width = 200;
        thumbnail.height = 283;
        const int8_t used = lxCalculateThumbnailMemorySize(source.area(), &thumbnail, &work[0], &work[1]);
        const auto allocateFor = [](ImageArea& area) {
            auto pixels = allocate(std::size_t(area.bytesPerLine) * area.lines);
            area.buffer = pixels.get();
            return pixels;
        };
        std::shared_ptr<uint8_t[]> buffers[3] = {allocateFor(thumbnail)};
        for (int k = 0; k < 2; ++k) {
            if (used >> k & 1) {
                buffers[k + 1] = allocateFor(work[k]);
            }
        }
        return [&source, thumbnail, first = work[0], second = work[1], a = buffers[0], b = buffers[1],
                c = buffers[2]]() mutable {
            return lxCreateThubmnailImage(source.area(), &thumbnail, &first, &second, nullptr) == IMAGE_STATUS_OK;
        };
    };
    const uint16_t target = type == IMAGE_TYPE_BW     ? uint16_t(IMAGE_TYPE_256GRAY)
                            : type == IMAGE_TYPE_8RGB ? uint16_t(IMAGE_TYPE_16MRGB)
                                                      : type;
    operations.add({name, bytesOf({type}), bytesOf({target, 200, 283}), goal, prepare});
}

} // namespace

void addMultilevelScaling(Operations& operations)
{
    addScaling(operations, "averaging, gray", IMAGE_TYPE_256GRAY, averaging, 100, {0.06, 0.028});
    addScaling(operations, "averaging, gray", IMAGE_TYPE_256GRAY, averaging, 72, {0.08, 0.028});
    addScaling(operations, "averaging, gray", IMAGE_TYPE_256GRAY, averaging, 400, {1.5, 1});
    addScaling(operations, "averaging, gray", IMAGE_TYPE_256GRAY, averaging, 450, {1.5, 1});
    addScaling(operations, "averaging, gray", IMAGE_TYPE_256GRAY, averaging, 600, {1.5, 1});
    addScaling(operations, "averaging, colour", IMAGE_TYPE_16MRGB, averaging, 100, {0.20, 0.101});
    addScaling(operations, "averaging, colour", IMAGE_TYPE_16MRGB, averaging, 72, {0.20, 0.101});
    addScaling(operations, "averaging, colour", IMAGE_TYPE_16MRGB, averaging, 450, {1.5, 1});
    addScaling(operations, "averaging, colour", IMAGE_TYPE_16MRGB, averaging, 600, {1.5, 1});
    addScaling(operations, "interpolation, gray", IMAGE_TYPE_256GRAY, interpolation, 200, {0.15, 0.028});
    addScaling(operations, "interpolation, gray", IMAGE_TYPE_256GRAY, interpolation, 100);
    addScaling(operations, "interpolation, gray", IMAGE_TYPE_256GRAY, interpolation, 600, {0.07, 0.033});
    addScaling(operations, "interpolation, colour", IMAGE_TYPE_16MRGB, interpolation, 200, {0.4, 0.108});
    addScaling(operations, "interpolation, colour", IMAGE_TYPE_16MRGB, interpolation, 600);
    addScaling(operations, "sampling, gray", IMAGE_TYPE_256GRAY, sampling, 200, {0.04, 0.028});
    addScaling(operations, "sampling, gray", IMAGE_TYPE_256GRAY, sampling, 600, {1.5, 1});
    addScaling(operations, "sampling, 16 colours", IMAGE_TYPE_16RGB, sampling, 200);
    addScaling(operations, "sampling, 16 colours", IMAGE_TYPE_16RGB, sampling, 600, {1.5, 1});
    addScaling(operations, "sampling, colour", IMAGE_TYPE_16MRGB, sampling, 200);
    addScaling(operations, "sampling, colour", IMAGE_TYPE_16MRGB, sampling, 600, {1.5, 1});
    addScaling(operations, "diffusion, 8 colours", IMAGE_TYPE_8RGB, averaging, 200);
}

void addThumbnails(Operations& operations)
{
    addThumbnail(operations, "thumbnail, bilevel", IMAGE_TYPE_BW, {0.04, 0.003});
    addThumbnail(operations, "thumbnail, gray", IMAGE_TYPE_256GRAY);
    addThumbnail(operations, "thumbnail, 8 colours", IMAGE_TYPE_8RGB);
    addThumbnail(operations, "thumbnail, colour", IMAGE_TYPE_16MRGB, {0.05, 0.101});
}

} // namespace bench
