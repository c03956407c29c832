#include "support/placed_picture.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>

namespace lxtest
{

namespace
{

constexpr size_t margin = 192; // accessible bytes that are watched on either side

uint8_t* lineOf(const ImageArea& area, uint32_t j)
{
    const uint32_t line = area.bottomUp != 0 ? area.lines - area.y - 1 - j : area.y + j;
    return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(area.buffer) + size_t{line} * area.bytesPerLine);
}

// Byte and shift of a packed pixel.
struct Place {
    size_t byte;
    unsigned shift;

    Place(const ImageArea& area, uint32_t i, unsigned bits)
    {
        const size_t bit = (size_t{area.x} + i) * bits;
        byte = bit / 8;
        shift = static_cast<unsigned>(8 - bits - bit % 8);
    }
};

} // namespace

Layout Layout::random(Random& random, unsigned orders)
{
    constexpr uint16_t colorOrders[] = {0, 1, 0x200};
    constexpr uint16_t lineOrders[] = {0, 0, 1, 0x8000};
    Layout layout;
    layout.colorOrder = colorOrders[random.below(orders)];
    layout.bottomUp = random.pick(lineOrders);
    layout.x = random.chance(80) ? random.below(17) : random.below(1000);
    // Now and then the area lies more than 4 GiB behind the start of its buffer.
    layout.y = random.below(random.chance(90) ? 10 : 1U << 24);
    layout.linesBelow = random.below(10);
    layout.padding = random.chance(30) ? 0 : random.chance(80) ? random.below(8) : random.below(100);
    layout.guard = static_cast<Guard>(random.below(4));
    layout.noise = random.next();
    return layout;
}

std::ostream& operator<<(std::ostream& out, const Layout& layout)
{
    constexpr const char* guards[] = {"before the area", "behind the area", "before each line", "behind each line"};
    return out << "x " << layout.x << ", y " << layout.y << ", lines below " << layout.linesBelow << ", padding "
               << layout.padding << ", colorOrder " << layout.colorOrder << ", bottomUp " << layout.bottomUp
               << ", guard " << guards[static_cast<int>(layout.guard)];
}

size_t lineBytes(const Picture& picture, const Layout& layout)
{
    if (picture.width == 0)
        return 0;
    const size_t bits = bitsOf(picture.type);
    return ((size_t{layout.x} + picture.width) * bits + 7) / 8 - layout.x * bits / 8;
}

ImageArea areaAt(uint8_t* first, const Picture& picture, const Layout& layout, uint32_t bytesPerLine)
{
    ImageArea area = {};
    area.type = picture.type;
    area.colorOrder = layout.colorOrder;
    area.bottomUp = layout.bottomUp;
    area.x = layout.x;
    area.y = layout.y;
    area.width = picture.width;
    area.height = picture.height;
    area.bytesPerLine = bytesPerLine;
    // Top-down areas must not depend on the number of lines.
    area.lines =
        layout.bottomUp != 0 ? layout.y + picture.height + layout.linesBelow : static_cast<uint32_t>(layout.noise);
    const size_t linesBefore = layout.bottomUp != 0 ? layout.linesBelow : layout.y;
    const size_t bytesBefore = linesBefore * bytesPerLine + size_t{layout.x} * bitsOf(picture.type) / 8;
    area.buffer = reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(first) - bytesBefore);
    return area;
}

void putPixels(const ImageArea& area, const Picture& picture)
{
    const unsigned bits = bitsOf(area.type);
    for (uint32_t j = 0; j < picture.height; ++j) {
        uint8_t* line = lineOf(area, j);
        for (uint32_t i = 0; i < picture.width; ++i) {
            const uint32_t value = picture.at(i, j);
            if (bits == 24) {
                uint8_t* pixel = line + 3 * (size_t{area.x} + i);
                pixel[area.colorOrder != 0 ? 2 : 0] = static_cast<uint8_t>(value >> 16);
                pixel[1] = static_cast<uint8_t>(value >> 8);
                pixel[area.colorOrder != 0 ? 0 : 2] = static_cast<uint8_t>(value);
            } else {
                const Place place(area, i, bits);
                const uint32_t mask = ((1U << bits) - 1) << place.shift;
                line[place.byte] = static_cast<uint8_t>((line[place.byte] & ~mask) | value << place.shift);
            }
        }
    }
}

Picture getPixels(const ImageArea& area)
{
    Picture picture(area.type, area.width, area.height);
    const unsigned bits = bitsOf(area.type);
    for (uint32_t j = 0; j < picture.height; ++j) {
        const uint8_t* line = lineOf(area, j);
        for (uint32_t i = 0; i < picture.width; ++i) {
            if (bits == 24) {
                const uint8_t* pixel = line + 3 * (size_t{area.x} + i);
                const unsigned red = area.colorOrder != 0 ? 2 : 0;
                picture.at(i, j) = static_cast<uint32_t>(pixel[red] << 16 | pixel[1] << 8 | pixel[2 - red]);
            } else {
                const Place place(area, i, bits);
                picture.at(i, j) = static_cast<uint32_t>(line[place.byte] >> place.shift) & ((1U << bits) - 1);
            }
        }
    }
    return picture;
}

PlacedPicture::PlacedPicture(const Picture& picture, const Layout& layout, Ground& ground) : original_(picture)
{
    using Guard = Layout::Guard;
    Random noise(layout.noise);
    const size_t bytes = lineBytes(picture, layout);
    const size_t lineStart = size_t{layout.x} * bitsOf(picture.type) / 8;
    const bool apart = (layout.guard == Guard::beforeLine || layout.guard == Guard::behindLine) &&
                       bytes <= ground.lines.size() && picture.height <= ground.lines.blocks();
    const bool atEnd = layout.guard == Guard::behindArea || layout.guard == Guard::behindLine;
    const GuardedMemory& memory = apart ? ground.lines : ground.block;
    const size_t pitch = apart ? memory.distance() : lineStart + bytes + layout.padding;
    const size_t extent = apart ? bytes : picture.height == 0 ? 0 : (picture.height - 1) * pitch + bytes;
    if (extent > memory.size())
        std::abort();
    uint8_t* first = atEnd ? memory.end() - extent : memory.begin();
    area_ = areaAt(first, picture, layout, static_cast<uint32_t>(pitch));
    for (size_t k = 0; k < (apart ? picture.height : 1); ++k)
        addSpan(memory, k, first + k * memory.distance(), first + k * memory.distance() + extent, noise);
    putPixels(area_, picture);
    before_ = contents();
}

void PlacedPicture::addSpan(const GuardedMemory& memory, size_t block, uint8_t* from, uint8_t* to, Random& noise)
{
    from -= std::min<size_t>(margin, static_cast<size_t>(from - memory.begin(block)));
    to += std::min<size_t>(margin, static_cast<size_t>(memory.end(block) - to));
    spans_.push_back({from, static_cast<size_t>(to - from)});
    noise.fill(from, spans_.back().count);
}

std::vector<uint8_t> PlacedPicture::contents() const
{
    std::vector<uint8_t> bytes;
    for (const Span& span : spans_)
        bytes.insert(bytes.end(), span.bytes, span.bytes + span.count);
    return bytes;
}

bool PlacedPicture::surroundingsKept() const
{
    const Picture now = picture();
    putPixels(area_, original_);
    const bool kept = contents() == before_;
    putPixels(area_, now);
    return kept;
}

Image::Image(const Picture& picture, const Layout& layout)
{
    const size_t pitch = size_t{layout.x} * bitsOf(picture.type) / 8 + lineBytes(picture, layout) + layout.padding;
    bytes_.resize(std::max<size_t>(pitch * picture.height, 1)); // no address may be null
    area = areaAt(bytes_.data(), picture, layout, static_cast<uint32_t>(pitch));
    putPixels(area, picture);
}

ImageArea Image::band(uint32_t top, uint32_t height) const
{
    ImageArea part = area;
    part.y += top;
    part.height = height;
    return part;
}

} // namespace lxtest
