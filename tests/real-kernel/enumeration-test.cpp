// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What the back end tells of real cameras, against what v4l2-ctl prints of the same nodes.

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "desk.h"
#include "kernel-answers.h"

namespace {

using namespace RealKernel;
using Nerio::Lumiq::Camera;
using Nerio::Lumiq::CameraCapability;
using Nerio::Lumiq::CameraCapabilityEx;
using Nerio::Lumiq::CameraCapabilityPriority;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::PixelFormat;
using Nerio::Lumiq::PixelFormatDescription;

// The kernel's name for what the back end offers; the others have no place in the framework.
const std::map<std::string, PixelFormat> offered{
    {"YU12", PixelFormat::YUV420Planar}, {"NV12", PixelFormat::YUV420SemiPlanar},
    {"YUYV", PixelFormat::YUYV},         {"UYVY", PixelFormat::UYVY},
    {"MJPG", PixelFormat::MJPG},         {"H264", PixelFormat::H264}};

double rateOf(const Nerio::Lumiq::Fraction<unsigned int>& fps) {
    return static_cast<double>(fps.numerator) / fps.denominator;
}

// v4l2-ctl prints three digits.
bool isRate(double rate, double printed) {
    return std::abs(rate - printed) < 0.0011;
}

bool isListed(const KernelFormat& format, const CameraCapabilityEx& point) {
    return std::ranges::any_of(format.sizes, [&](const KernelSize& size) {
        return size.width == point.width && size.height == point.height &&
               std::ranges::any_of(size.rates,
                                   [&](double rate) { return isRate(rateOf(point.fps), rate); });
    });
}

std::uint32_t distance(std::uint32_t a, std::uint32_t b) {
    return a > b ? a - b : b - a;
}

// The size that a search by size has to find: nearest in the deciding dimension, then in the
// other, the first listed of several.
const KernelSize& nearest(const std::vector<KernelSize>& sizes, const CameraCapabilityEx& wish,
                          bool widthFirst) {
    return *std::ranges::min_element(sizes, {}, [&](const KernelSize& size) {
        const auto width = distance(size.width, wish.width);
        const auto height = distance(size.height, wish.height);
        return widthFirst ? std::pair(width, height) : std::pair(height, width);
    });
}

bool has(const KernelSize& size, double rate) {
    return std::ranges::count(size.rates, rate) != 0;
}

// How far the nearest of a size's rates is from a wish.
double rateDistance(const KernelSize& size, double wish) {
    double best = HUGE_VAL;
    for (const double rate : size.rates) {
        best = std::min(best, std::abs(rate - wish));
    }
    return best;
}

// A wish for a rate as v4l2-ctl prints it.
CameraCapabilityEx wishFor(const KernelSize& size, double rate) {
    return {size.width, size.height, {static_cast<unsigned>(std::lround(rate * 1000)), 1000}};
}

// What is offered of a camera with these formats: each that the framework knows, once; the requests
// that leave the choice to the back end; and what it makes of the others.
std::vector<PixelFormatDescription> offerFor(const std::vector<KernelFormat>& kernel) {
    std::vector<PixelFormatDescription> all{
        {PixelFormat::Raw, 0}, {PixelFormat::Encoded, 0}, {PixelFormat::Preferred, 0}};
    const auto lists = [&](const std::string& fourcc) {
        return std::ranges::count(kernel, fourcc, &KernelFormat::fourcc) != 0;
    };
    for (const auto& [fourcc, format] : offered) {
        if (lists(fourcc)) {
            all.push_back({format, 0});
        }
    }
    const bool planar = lists("YU12");
    const bool convertible = lists("YUYV") || lists("UYVY") || lists("MJPG");
    if (!planar && convertible) {
        all.push_back({PixelFormat::YUV420Planar, PixelFormatDescription::SupportedWithConverting});
    }
    if (planar || convertible || lists("NV12")) {
        all.push_back({PixelFormat::YCbCrFlexible, 0});
    }
    return all;
}

// The highest rate that is told: the highest of those listed, and of a range the one that the
// longest interval makes.
double fastestTold(const KernelFormat& format) {
    double fastest = 0;
    for (const KernelSize& size : format.sizes) {
        for (const double rate : size.rates) {
            fastest = std::max(fastest, rate);
        }
        fastest = std::max(fastest, size.range ? size.range->slowest : 0);
    }
    return fastest;
}

class ARealCamera : public AtTheDesk, public ::testing::WithParamInterface<FindCamera> {
protected:
    RealCamera& camera = GetParam()();
    const std::vector<KernelFormat> kernel = formatsOf(camera.node());
    const std::shared_ptr<Camera> opened = open(camera);

    void SetUp() override { ASSERT_NE(opened, nullptr); }

    const KernelFormat& yuyv() const {
        return *std::ranges::find(kernel, "YUYV", &KernelFormat::fourcc);
    }
};

TEST_P(ARealCamera, OffersTheFormatsThatTheKernelListsAndWhatIsMadeOfThemAndNothingElse) {
    const auto formats = opened->getSupportedFormats();
    EXPECT_THAT(formats, ::testing::UnorderedElementsAreArray(offerFor(kernel)));
    std::vector<PixelFormat> names;
    for (const PixelFormatDescription& format : formats) {
        names.push_back(format.format);
    }
    EXPECT_EQ(opened->getSupportedPixelFormats(), names);
}

TEST_P(ARealCamera, HasTheRangesOfTheKernelsSizesAndIntervals) {
    std::size_t checked = 0;
    for (const KernelFormat& format : kernel) {
        if (!offered.contains(format.fourcc)) {
            continue;
        }
        CameraCapabilityRanges ranges;
        ASSERT_TRUE(opened->queryCapabilityRanges(offered.at(format.fourcc), ranges));
        const auto [minWidth, maxWidth] = std::ranges::minmax(format.sizes, {}, &KernelSize::width);
        const auto [minHeight, maxHeight] =
            std::ranges::minmax(format.sizes, {}, &KernelSize::height);
        EXPECT_EQ(ranges.minWidth, minWidth.width) << format.fourcc;
        EXPECT_EQ(ranges.maxWidth, maxWidth.width) << format.fourcc;
        EXPECT_EQ(ranges.minHeight, minHeight.height) << format.fourcc;
        EXPECT_EQ(ranges.maxHeight, maxHeight.height) << format.fourcc;
        EXPECT_EQ(ranges.widthStep, 0U) << format.fourcc;
        EXPECT_EQ(ranges.heightStep, 0U) << format.fourcc;
        EXPECT_TRUE(isRate(rateOf(ranges.maxFps), fastestTold(format)))
            << format.fourcc << " " << rateOf(ranges.maxFps) << ", not " << fastestTold(format);
        EXPECT_EQ(rateOf(ranges.minFps), 0) << format.fourcc;
        EXPECT_EQ(rateOf(ranges.fpsStep), 0) << format.fourcc;
        ++checked;
    }
    EXPECT_GE(checked, 4U);
}

// Each size once, with a nominal rate.
TEST_P(ARealCamera, ListsTheSizesOfItsMotionJpegAsOperatingPoints) {
    std::vector<std::pair<unsigned, unsigned>> expected;
    for (const KernelFormat& format : kernel) {
        for (const KernelSize& size : format.sizes) {
            if (format.fourcc == "MJPG") {
                expected.emplace_back(size.width, size.height);
            }
        }
    }
    std::vector<CameraCapability> points;
    EXPECT_EQ(opened->queryCapabilities(points), !expected.empty());
    ASSERT_EQ(points.size(), expected.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(std::pair(points[i].width, points[i].height), expected[i]);
        EXPECT_EQ(points[i].fps, 30U);
    }
}

TEST_P(ARealCamera, FindsWhatTheKernelListsWhenAskedForJustThat) {
    for (const KernelFormat& format : kernel) {
        if (!offered.contains(format.fourcc)) {
            continue;
        }
        for (const KernelSize& size : format.sizes) {
            for (const double rate : size.rates) {
                CameraCapabilityEx found;
                EXPECT_TRUE(opened->findClosestCapability(offered.at(format.fourcc),
                                                          wishFor(size, rate), found,
                                                          CameraCapabilityPriority::SizeWidth));
                EXPECT_EQ(found.width, size.width) << format.fourcc;
                EXPECT_EQ(found.height, size.height) << format.fourcc;
                EXPECT_TRUE(isRate(rateOf(found.fps), rate)) << format.fourcc << " " << rate;
            }
        }
    }
}

TEST_P(ARealCamera, FindsTheNearestSizeAndItsNearestRateForAnyWish) {
    for (const std::uint32_t width : {1U, 333U, 641U, 1000U, 1500U, 9999U}) {
        for (const std::uint32_t height : {1U, 179U, 500U, 650U, 1081U, 9999U}) {
            for (const unsigned fps : {1U, 22U, 30U, 999U}) {
                const CameraCapabilityEx wish(width, height, {fps, 1});
                for (const auto priority :
                     {CameraCapabilityPriority::SizeWidth, CameraCapabilityPriority::SizeHeight}) {
                    CameraCapabilityEx found;
                    ASSERT_TRUE(
                        opened->findClosestCapability(PixelFormat::YUYV, wish, found, priority));
                    const KernelSize& best = nearest(
                        yuyv().sizes, wish, priority == CameraCapabilityPriority::SizeWidth);
                    EXPECT_EQ(found.width, best.width) << width << "x" << height;
                    EXPECT_EQ(found.height, best.height) << width << "x" << height;
                    EXPECT_TRUE(isListed(yuyv(), found)) << rateOf(found.fps);
                    EXPECT_NEAR(std::abs(rateOf(found.fps) - fps), rateDistance(best, fps), 0.0011)
                        << rateOf(found.fps) << " at " << found.width << "x" << found.height;
                }
            }
        }
    }
}

// The largest size is wished for, at rates that only smaller ones have.
TEST_P(ARealCamera, FindsASmallerSizeWithTheWishedRateWhereRateComesFirst) {
    const KernelSize& largest = std::ranges::max(yuyv().sizes, {}, &KernelSize::width);
    std::map<double, std::vector<KernelSize>> sizesWith;
    for (const KernelSize& size : yuyv().sizes) {
        for (const double rate : size.rates) {
            sizesWith[rate].push_back(size);
        }
    }
    std::erase_if(sizesWith, [&](const auto& entry) { return has(largest, entry.first); });
    EXPECT_GE(sizesWith.size(), 2U);
    std::set<std::uint32_t> done;
    for (const auto& [rate, sizes] : sizesWith) {
        if (!done.insert(nearest(sizes, wishFor(largest, rate), true).width).second) {
            continue;  // the same sizes had another rate
        }
        const CameraCapabilityEx wish = wishFor(largest, rate);
        for (const auto priority :
             {CameraCapabilityPriority::FpsWidth, CameraCapabilityPriority::FpsHeight}) {
            const KernelSize& best =
                nearest(sizes, wish, priority == CameraCapabilityPriority::FpsWidth);
            CameraCapabilityEx found;
            ASSERT_TRUE(opened->findClosestCapability(PixelFormat::YUYV, wish, found, priority));
            EXPECT_TRUE(isRate(rateOf(found.fps), rate)) << rateOf(found.fps);
            EXPECT_EQ(found.width, best.width) << rate;
            EXPECT_EQ(found.height, best.height) << rate;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Vivid, ARealCamera, ::testing::Values(vividWebcam));
INSTANTIATE_TEST_SUITE_P(Usb, ARealCamera, ::testing::Values(isochronousCamera));

class AnHdmiInput : public AtTheDesk {
protected:
    const VividCamera camera{2};
    const KernelSteps steps = formatsOf(camera.node()).front().steps.value();
    const std::shared_ptr<Camera> opened = open(camera);

    void SetUp() override { ASSERT_NE(opened, nullptr); }

    bool find(const CameraCapabilityEx& wish, CameraCapabilityEx& found) const {
        return opened->findClosestCapability(PixelFormat::YUYV, wish, found,
                                             CameraCapabilityPriority::SizeWidth);
    }
};

TEST_F(AnHdmiInput, HasTheSteppedRangeThatTheKernelHas) {
    for (const auto& [fourcc, format] : offered) {
        CameraCapabilityRanges ranges;
        if (fourcc == "MJPG" || fourcc == "H264") {
            EXPECT_FALSE(opened->isFormatSupported(format)) << fourcc;
            continue;
        }
        ASSERT_TRUE(opened->queryCapabilityRanges(format, ranges)) << fourcc;
        EXPECT_EQ(ranges.minWidth, steps.minWidth) << fourcc;
        EXPECT_EQ(ranges.maxWidth, steps.maxWidth) << fourcc;
        EXPECT_EQ(ranges.widthStep, steps.widthStep) << fourcc;
        EXPECT_EQ(ranges.minHeight, steps.minHeight) << fourcc;
        EXPECT_EQ(ranges.maxHeight, steps.maxHeight) << fourcc;
        EXPECT_EQ(ranges.heightStep, steps.heightStep) << fourcc;
    }
}

TEST_F(AnHdmiInput, FindsItsBoundsForWishesBeyondThem) {
    CameraCapabilityEx found;
    ASSERT_TRUE(find({steps.maxWidth + 1000, steps.maxHeight + 1000, {60, 1}}, found));
    EXPECT_EQ(found.width, steps.maxWidth);
    EXPECT_EQ(found.height, steps.maxHeight);
    ASSERT_TRUE(find({steps.minWidth - 1, steps.minHeight - 1, {60, 1}}, found));
    EXPECT_EQ(found.width, steps.minWidth);
    EXPECT_EQ(found.height, steps.minHeight);
}

// The kernel's range of sizes, as any range with steps, has no nearest entry inside.
TEST_F(AnHdmiInput, FindsNothingForWishesWithin) {
    CameraCapabilityEx found;
    EXPECT_FALSE(find({640, 480, {60, 1}}, found));
    EXPECT_FALSE(find({641, 479, {60, 1}}, found));
}

}  // namespace
