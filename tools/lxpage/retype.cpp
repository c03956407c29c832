#include "retype.h"

#include "error.h"

#include <sstream>

namespace lxpage
{

namespace
{

Image toGray(const Image& page)
{
    Image gray(IMAGE_TYPE_256GRAY, page.width(), page.height(), page.resolution);
    const ImageArea from = page.area();
    const ImageArea to = gray.area();
    expectOk(lxImageTypeConvertToGrayscale(&page.palette, &from, &to, nullptr), "lxImageTypeConvertToGrayscale");
    return gray;
}

} // namespace

Image toColor(const Image& page)
{
    checkPageSize(page.width(), page.height(), 3);
    Image color(IMAGE_TYPE_16MRGB, page.width(), page.height(), page.resolution);
    const ImageArea from = page.area();
    const ImageArea to = color.area();
    expectOk(lxImageTypeConvertTo16MRGB(&page.palette, &from, &to, nullptr), "lxImageTypeConvertTo16MRGB");
    return color;
}

Image toPlain(const Image& page)
{
    return page.type() == IMAGE_TYPE_BW ? page : toLevels(page);
}

Image toLevels(const Image& page)
{
    switch (page.type()) {
    case IMAGE_TYPE_256GRAY:
    case IMAGE_TYPE_16MRGB:
        return page;
    case IMAGE_TYPE_BW:
    case IMAGE_TYPE_16GRAY:
        return toGray(page);
    default:
        return toColor(page);
    }
}

std::vector<uint32_t> numbersFrom(const std::string& option, const std::string& text, size_t count, uint32_t most)
{
    std::vector<uint32_t> numbers;
    std::istringstream parts(text);
    std::string part;
    bool sound = text.empty() || text.back() != ',';
    while (std::getline(parts, part, ',')) {
        const bool digits = !part.empty() && part.size() <= 9 && part.find_first_not_of("0123456789") == part.npos;
        numbers.push_back(digits ? static_cast<uint32_t>(std::stoul(part)) : 0);
        sound = sound && digits && numbers.back() <= most;
    }
    if (!sound || numbers.size() != count) {
        throw PageError(ExitCode::Usage, option + " takes " + std::to_string(count) + " whole numbers from 0 to " +
                                             std::to_string(most) + ", with commas between them");
    }
    return numbers;
}

std::vector<uint8_t> colorFrom(const std::string& option, const std::string& text)
{
    std::vector<uint8_t> color;
    for (const uint32_t component : numbersFrom(option, text, 3, 255)) {
        color.push_back(static_cast<uint8_t>(component));
    }
    return color;
}

} // namespace lxpage
