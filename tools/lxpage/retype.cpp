#include "retype.h"

namespace lxpage
{

namespace
{

Image toGray(const Image& page, ProgressCallback progress)
{
    Image gray(IMAGE_TYPE_256GRAY, page.width(), page.height(), page.resolution);
    const ImageArea from = page.area();
    const ImageArea to = gray.area();
    expectOk(lxImageTypeConvertToGrayscale(&page.palette, &from, &to, progress), "lxImageTypeConvertToGrayscale");
    return gray;
}

} // namespace

Image toColor(const Image& page, ProgressCallback progress)
{
    checkPageSize(page.width(), page.height(), 3);
    Image color(IMAGE_TYPE_16MRGB, page.width(), page.height(), page.resolution);
    const ImageArea from = page.area();
    const ImageArea to = color.area();
    expectOk(lxImageTypeConvertTo16MRGB(&page.palette, &from, &to, progress), "lxImageTypeConvertTo16MRGB");
    return color;
}

Image toPlain(const Image& page, ProgressCallback progress)
{
    return page.type() == IMAGE_TYPE_BW ? page : toLevels(page, progress);
}

Image toLevels(const Image& page, ProgressCallback progress)
{
    switch (page.type()) {
    case IMAGE_TYPE_256GRAY:
    case IMAGE_TYPE_16MRGB:
        return page;
    case IMAGE_TYPE_BW:
    case IMAGE_TYPE_16GRAY:
        return toGray(page, progress);
    default:
        return toColor(page, progress);
    }
}

} // namespace lxpage
