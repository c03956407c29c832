#include "thumbnail.h"

#include <algorithm>
#include <cmath>

namespace lxpage
{

namespace
{

uint32_t share(uint32_t side, uint32_t length, uint32_t longest)
{
    const double exact = static_cast<double>(side) * length / longest;
    return static_cast<uint32_t>(std::max(std::floor(exact + 0.5), 1.0));
}

// The memory of a work area, which stays empty if it is not used.
std::vector<uint8_t> memoryFor(ImageArea& work, bool used)
{
    std::vector<uint8_t> bytes(used ? size_t{work.bytesPerLine} * work.lines : 0);
    work.buffer = bytes.data();
    return bytes;
}

} // namespace

Image thumbnail(const Image& page, uint32_t side, ProgressBar& bar)
{
    const uint32_t longest = std::max(page.width(), page.height());
    const ImageArea source = page.area();
    ImageArea target{};
    target.width = share(side, page.width(), longest);
    target.height = share(side, page.height(), longest);
    ImageArea work1{};
    ImageArea work2{};
    const int8_t used = lxCalculateThumbnailMemorySize(&source, &target, &work1, &work2);
    checkPageSize(target.width, target.height, target.type == IMAGE_TYPE_16MRGB ? 3 : 1);
    Image result(target.type, target.width, target.height,
                 {page.resolution.x * target.width / page.width(), page.resolution.y * target.height / page.height()});
    if (target.type == page.type()) {
        result.palette = page.palette;
    }
    fillWhite(result);
    const std::vector<uint8_t> memory1 = memoryFor(work1, (used & 1) != 0);
    const std::vector<uint8_t> memory2 = memoryFor(work2, (used & 2) != 0);
    const ImageArea destination = result.area();
    expectOk(lxCreateThubmnailImage(&source, &destination, &work1, &work2, bar.part(0, 1)), "lxCreateThubmnailImage");
    return result;
}

} // namespace lxpage
