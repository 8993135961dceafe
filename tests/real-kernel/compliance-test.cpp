// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The USB cameras behind the kernel's driver, in the eyes of v4l2-compliance: only a camera that
// answers every request of the driver's correctly makes a node that passes.

#include <gmock/gmock.h>

#include "desk.h"

namespace {

using namespace RealKernel;
using ::testing::ContainsRegex;

class TheUsbNodes : public AtTheDesk {
protected:
    // What v4l2-compliance says of a node. Most of its time it waits. Not of streams: the driver
    // answers a start without buffers and a read() otherwise than the program expects, whatever
    // the camera.
    static TestSupport::ChildProcess examine(const UsbCamera& camera) {
        return TestSupport::ChildProcess({"v4l2-compliance", "-d", camera.node()});
    }

    static void expectSuccess(TestSupport::ChildProcess& examination) {
        EXPECT_EQ(examination.wait(), 0);
        const std::string report = examination.standardOutput();
        EXPECT_THAT(report, ContainsRegex("Total for uvcvideo device .*: [4-9][0-9], "
                                          "Succeeded: [4-9][0-9], Failed: 0,"))
            << report;
    }
};

TEST_F(TheUsbNodes, PassTheComplianceTest) {
    const UsbCamera& isochronous = usbCamera(UsbKind::Isochronous);
    const UsbCamera bulk(UsbKind::Bulk);
    TestSupport::ChildProcess left = examine(isochronous);
    TestSupport::ChildProcess right = examine(bulk);
    expectSuccess(left);
    expectSuccess(right);
}

}  // namespace
