// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Which video nodes count as cameras, and how a folder is searched for them. Nothing answers here:
// query-node-test.cpp has nodes that do.
#include "capture-node.h"

#include <gmock/gmock.h>
#include <linux/videodev2.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "real-nodes.h"
#include "temporary-folder.h"

namespace GateholdService {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

constexpr std::uint32_t kDriver = V4L2_CAP_DEVICE_CAPS | V4L2_CAP_STREAMING;

TEST(AVideoNode, CountsWhenItCaptures) {
    EXPECT_TRUE(isCaptureNode(kDriver, V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING));
    EXPECT_TRUE(isCaptureNode(kDriver, V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING));
}

TEST(AVideoNode, IsJudgedByItsOwnWordWhereTheDriverHasMoreNodes) {
    // The metadata node of a UVC camera: the driver as a whole captures, this node does not.
    EXPECT_FALSE(isCaptureNode(kDriver | V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_META_CAPTURE,
                               V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING));
}

TEST(AVideoNode, OfAnOldDriverIsJudgedByTheOneWordThereIs) {
    EXPECT_TRUE(isCaptureNode(V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING, 0));
    EXPECT_FALSE(isCaptureNode(V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING, 0));
}

TEST(AVideoNode, DoesNotCountWhenItGivesNoPicturesByItself) {
    constexpr std::array<std::uint32_t, 6> words{
        V4L2_CAP_VIDEO_M2M,    V4L2_CAP_VIDEO_M2M_MPLANE,
        V4L2_CAP_VIDEO_OUTPUT, V4L2_CAP_VIDEO_OUTPUT_MPLANE,
        V4L2_CAP_TOUCH,        V4L2_CAP_IO_MC};
    for (const std::uint32_t word : words) {
        EXPECT_FALSE(isCaptureNode(kDriver, V4L2_CAP_VIDEO_CAPTURE | word)) << std::hex << word;
    }
}

class AFolderOfNodes : public ::testing::Test {
protected:
    std::string put(const std::string& name, const std::string& text = {}) const {
        std::ofstream(folder / name) << text;
        return (folder / name).string();
    }

private:
    const TestSupport::TemporaryFolder m_made{"nodes"};

protected:
    const std::filesystem::path folder = m_made.path();
};

TEST_F(AFolderOfNodes, ShowsTheVideoNodesByTheirNames) {
    for (const char* name :
         {"video10", "video2", "video", "videox", "vbi0", "null", "v4l-subdev0"}) {
        put(name);
    }
    EXPECT_THAT(videoNodesIn(folder.string()), ElementsAre(Pair("video10", folder / "video10"),
                                                           Pair("video2", folder / "video2")));
    EXPECT_TRUE(videoNodesIn((folder / "nowhere").string()).empty());
}

TEST_F(AFolderOfNodes, IsNotTakenForACameraWhenANodeIsNone) {
    const auto errorOf = [](const std::string& path) {
        try {
            queryNode(path);
            return 0;
        } catch (const std::system_error& error) {
            return error.code().value();
        }
    };
    EXPECT_EQ(errorOf(put("video0")), ENOTTY);
    EXPECT_EQ(errorOf((folder / "video1").string()), ENOENT);
}

}  // namespace
}  // namespace GateholdService
