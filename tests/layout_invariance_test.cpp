// What an area shows must not depend on where its pixels lie.
//
// Every operation of the table runs on a plain layout and on random ones: pictures, status, progress and whatever else
// it writes must come out equal, nothing around the areas may change, and nothing outside may be touched, which the
// guard pages see to.

#include "support/operations.h"
#include "support/placed_picture.h"
#include "support/progress_log.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <optional>
#include <sstream>

#include <unistd.h>

namespace lxtest
{

namespace
{

struct Result {
    int8_t status;
    Picture source;
    Picture destination;
    ProgressLog::Calls progress;
    std::vector<uint8_t> kept;
};

struct Case {
    Picture source;
    Picture destination; // as it is before the call
    uint64_t seed;       // of the call's parameters
};

// The case at hand, told when the program crashes at a guard page.
std::string caseAtHand;

void tellCase(int)
{
    const std::string text = "\nAccess outside of an area: " + caseAtHand + "\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text.data(), static_cast<unsigned>(text.size()));
    std::_Exit(1);
}

class LayoutInvariance : public testing::TestWithParam<TypedOperation>
{
  protected:
    Result run(const Case& sample, const Layout& sourceLayout, const Layout& destinationLayout)
    {
        const Operation& operation = *GetParam().operation;
        const PlacedPicture destination(sample.destination, destinationLayout, destinationGround());
        std::optional<PlacedPicture> source;
        if (!operation.inPlace())
            source.emplace(sample.source, sourceLayout, sourceGround());
        const PlacedPicture& from = source ? *source : destination;
        std::ostringstream description;
        description << GetParam() << "\nsource " << sample.source.width << " x " << sample.source.height << " at "
                    << sourceLayout << "\ndestination " << sample.destination.width << " x "
                    << sample.destination.height << " at " << destinationLayout;
        caseAtHand = description.str();
        Call call = {&from.area(), &destination.area(), ProgressLog::start(), Random(sample.seed), {}};
        const ImageArea areas[] = {from.area(), destination.area()};
        const int8_t status = operation.run(call);
        EXPECT_EQ(std::memcmp(&areas[0], &from.area(), sizeof areas[0]), 0) << "the source record has changed";
        EXPECT_EQ(std::memcmp(&areas[1], &destination.area(), sizeof areas[1]), 0) << "the record has changed";
        EXPECT_TRUE(from.surroundingsKept());
        EXPECT_TRUE(destination.surroundingsKept());
        return {status, from.picture(), destination.picture(), ProgressLog::calls(), call.kept};
    }

    void compareLayouts(Size sourceSize, Size destinationSize, Random& random)
    {
        const TypedOperation& typed = GetParam();
        const Operation& operation = *typed.operation;
        if (operation.fit)
            operation.fit(sourceSize, destinationSize, random);
        Case sample = {Picture::random(random, typed.sourceType, sourceSize.width, sourceSize.height),
                       Picture::random(random, typed.destinationType, destinationSize.width, destinationSize.height),
                       random.next()};
        const Result expected = run(sample, Layout(), Layout());
        ASSERT_EQ(expected.status, IMAGE_STATUS_OK);
        ASSERT_TRUE(operation.inPlace() || sample.source == expected.source) << "the source has changed";
        const unsigned orders = operation.comparesColorOrders ? 2 : 3;
        for (int k = 0; k < 3; ++k) {
            const Layout from = Layout::random(random, orders);
            Layout to = Layout::random(random, orders);
            if (operation.keepsColorOrder)
                to.colorOrder = from.colorOrder;
            const Result actual = run(sample, from, to);
            ASSERT_TRUE(!HasFailure() && actual.status == expected.status && actual.source == expected.source &&
                        actual.destination == expected.destination && actual.progress == expected.progress &&
                        actual.kept == expected.kept)
                << caseAtHand << "\nkept alike: " << (actual.kept == expected.kept)
                << ", progress alike: " << (actual.progress == expected.progress)
                << "\nsource: " << samePicture(expected.source, actual.source)
                << "\ndestination: " << samePicture(expected.destination, actual.destination);
        }
    }

  private:
    static Ground& sourceGround()
    {
        static Ground ground;
        return ground;
    }
    static Ground& destinationGround()
    {
        static Ground ground;
        return ground;
    }
};

// A source's size, or a little more or less.
uint32_t near(uint32_t length, Random& random)
{
    return random.chance(70) ? length : length - std::min(length, random.below(9)) + random.below(9);
}

TEST_P(LayoutInvariance, PictureDoesNotDependOnPlace)
{
    std::signal(SIGSEGV, tellCase);
    Random random(GetParam().name());
    std::vector<Size> sizes;
    for (uint32_t k = 0; k < 3 * 71; ++k)
        sizes.push_back({k % 71, random.chance(85) ? random.below(21) : random.between(21, 40)});
    for (const uint32_t width : {255U, 511U, 1030U, 2041U, 2048U, 2055U, 4096U, 4103U, 6200U, 8200U})
        sizes.push_back({width + random.below(8), random.between(1, 3)});
    for (const uint32_t height : {64U, 101U, 150U})
        sizes.push_back({random.below(30), height});
    for (const Size& size : sizes) {
        compareLayouts(size, {near(size.width, random), near(size.height, random)}, random);
        if (HasFatalFailure())
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(Every, LayoutInvariance, testing::ValuesIn(allOperations()),
                         [](const auto& instance) { return instance.param.name(); });

} // namespace

} // namespace lxtest
