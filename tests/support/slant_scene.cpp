#include "support/slant_scene.h"

#include "support/operations.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

namespace lxtest
{

namespace
{

constexpr uint8_t paper = 245;

// In the coordinates of the page as it would lie straight.
struct Box {
    double left;
    double top;
    double right;
    double bottom;
};

class SceneDrawing
{
  public:
    explicit SceneDrawing(const SlantScene& scene)
        : scene_(scene), width_(scene.width), height_(scene.height), shorter_(std::min(width_, height_)),
          cosine_(std::cos(scene.tilt * std::numbers::pi / 180)), sine_(std::sin(scene.tilt * std::numbers::pi / 180)),
          gray_(size_t{scene.width} * scene.height, paper), random_(scene.seed)
    {
    }

    Picture draw()
    {
        if (scene_.text)
            drawText();
        if (scene_.border != SlantScene::Border::none)
            fill(borderBox(), 25);
        for (auto n = static_cast<size_t>(scene_.noise * static_cast<double>(gray_.size())); n != 0; --n)
            gray_[random_.next() % gray_.size()] = random_.chance(50) ? 255 : 0;
        Picture picture(scene_.type, scene_.width, scene_.height);
        for (size_t k = 0; k < gray_.size(); ++k)
            picture.pixels[k] = scene_.type == IMAGE_TYPE_BW       ? (gray_[k] >= 128 ? 1U : 0U)
                                : scene_.type == IMAGE_TYPE_16MRGB ? gray_[k] * 0x010100U + gray_[k] / 8 * 7U
                                                                   : gray_[k];
        return picture;
    }

  private:
    void fill(const Box& box, uint8_t level)
    {
        // The bounds of the turned box, then every pixel's centre turned back.
        const double corners[4][2] = {
            {box.left, box.top}, {box.right, box.top}, {box.right, box.bottom}, {box.left, box.bottom}};
        Box bounds = {width_, height_, 0, 0};
        for (const auto& [x, y] : corners) {
            const double dx = x - width_ / 2;
            const double dy = y - height_ / 2;
            const double column = width_ / 2 + dx * cosine_ - dy * sine_;
            const double row = height_ / 2 + dx * sine_ + dy * cosine_;
            bounds = {std::min(bounds.left, column), std::min(bounds.top, row), std::max(bounds.right, column),
                      std::max(bounds.bottom, row)};
        }
        const auto i0 = static_cast<uint32_t>(std::max(bounds.left - 1, 0.0));
        const auto j0 = static_cast<uint32_t>(std::max(bounds.top - 1, 0.0));
        for (uint32_t j = j0; j < std::min(bounds.bottom + 1, height_); ++j) {
            for (uint32_t i = i0; i < std::min(bounds.right + 1, width_); ++i) {
                const double dx = i + 0.5 - width_ / 2;
                const double dy = j + 0.5 - height_ / 2;
                const double x = width_ / 2 + dx * cosine_ + dy * sine_;
                const double y = height_ / 2 - dx * sine_ + dy * cosine_;
                if (x >= box.left && x < box.right && y >= box.top && y < box.bottom)
                    gray_[size_t{j} * scene_.width + i] = level;
            }
        }
    }

    Box borderBox() const
    {
        const double beyond = width_ + height_;
        const bool isLid = scene_.border == SlantScene::Border::lid;
        const double far = (scene_.inset + scene_.thickness) * shorter_;
        const double near = isLid ? -beyond : scene_.inset * shorter_;
        const double gap = scene_.border == SlantScene::Border::bar ? 0.06 : 0.0;
        const double overhang = gap != 0 ? 0 : beyond;
        const Box along = {gap * width_ - overhang, gap * height_ - overhang, (1 - gap) * width_ + overhang,
                           (1 - gap) * height_ + overhang};
        switch (scene_.side) {
        case SlantScene::Side::top:
            return {along.left, near, along.right, far};
        case SlantScene::Side::bottom:
            return {along.left, height_ - far, along.right, height_ - near};
        case SlantScene::Side::left:
            return {near, along.top, far, along.bottom};
        default:
            return {width_ - far, along.top, width_ - near, along.bottom};
        }
    }

    // Lines of words of letters of two or three strokes.
    void drawText()
    {
        const double margin = 0.12;
        const double clear =
            scene_.border == SlantScene::Border::none ? 0 : (scene_.inset + scene_.thickness + 0.04) * shorter_;
        const auto from = [&](SlantScene::Side side, double length) {
            return std::max(margin * length, scene_.side == side ? clear : 0.0);
        };
        const Box block = {from(SlantScene::Side::left, width_), from(SlantScene::Side::top, height_),
                           width_ - from(SlantScene::Side::right, width_),
                           height_ - from(SlantScene::Side::bottom, height_)};
        const double size = std::max(shorter_ / random_.between(50, 80), 6.0);
        const double stroke = std::max(size * 0.1, 1.0);
        for (double y = block.top; y + size * 1.2 < block.bottom; y += size * 1.6) {
            if (random_.chance(7))
                continue; // between two paragraphs
            const double end = block.left + (block.right - block.left) * (random_.chance(15) ? random_.unit() : 1.0);
            for (double x = block.left; x < end; x += size * 0.4) {
                for (uint32_t letters = random_.between(2, 9); letters != 0 && x < end; --letters)
                    x += drawLetter(x, y, size, stroke) + size * 0.12;
            }
        }
    }

    double drawLetter(double x, double y, double size, double stroke)
    {
        const double width = size * (0.35 + 0.25 * random_.unit());
        const double top = y + (random_.chance(25) ? 0 : size * 0.3);
        const double middle = random_.chance(50) ? y + size * 0.3 : y + size - stroke;
        fill({x, top, x + stroke, y + size * (random_.chance(10) ? 1.25 : 1.0)}, 40);
        if (random_.chance(70))
            fill({x + width - stroke, y + size * 0.3, x + width, y + size}, 40);
        fill({x, middle, x + width, middle + stroke}, 40);
        return width;
    }

    const SlantScene& scene_;
    double width_;
    double height_;
    double shorter_;
    double cosine_;
    double sine_;
    std::vector<uint8_t> gray_;
    Random random_;
};

} // namespace

SlantScene SlantScene::random(Random& random, uint32_t least, uint32_t most)
{
    constexpr uint16_t types[] = {IMAGE_TYPE_256GRAY, IMAGE_TYPE_BW, IMAGE_TYPE_16MRGB};
    const double longer = least * std::pow(static_cast<double>(most) / least, random.unit());
    SlantScene scene;
    scene.type = random.pick(types);
    scene.height = static_cast<uint32_t>(longer);
    scene.width = static_cast<uint32_t>(longer * (0.6 + 0.4 * random.unit()));
    if (random.chance(33))
        std::swap(scene.width, scene.height);
    scene.inset = 0.06 + 0.08 * random.unit();
    scene.thickness = 0.012 + 0.04 * random.unit();
    scene.tilt = 11 * random.unit() - 5.5;
    scene.noise = random.chance(50) ? 0 : 0.005 * random.unit();
    scene.seed = random.next();
    return scene;
}

Picture drawScene(const SlantScene& scene)
{
    return SceneDrawing(scene).draw();
}

SlantMeasurement measureSlant(const ImageArea& page)
{
    ImageArea areas[3];
    lxCalculateMemorySizeForDetectionSlantAngle(&page, &areas[0], &areas[1], &areas[2]);
    std::unique_ptr<uint8_t[]> buffers[3];
    for (unsigned k = 0; k < 3; ++k) {
        buffers[k] = std::make_unique<uint8_t[]>(size_t{areas[k].bytesPerLine} * areas[k].lines);
        areas[k].buffer = buffers[k].get();
    }
    const ColorPalette palette = paletteOf(page.type);
    SlantMeasurement m = {};
    m.status = lxDetectionSlantAngleForDebug(&m.angle, &page, &palette, &areas[0], &areas[1], &areas[2],
                                             &m.bandFirst[0], &m.bandLast[0], &m.bandFirst[1], &m.bandLast[1],
                                             &m.startA[0], &m.startA[1], &m.startB[0], &m.startB[1], &m.endA[0],
                                             &m.endA[1], &m.endB[0], &m.endB[1], nullptr);
    return m;
}

} // namespace lxtest
