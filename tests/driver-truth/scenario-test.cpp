// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Which of the answers written in a scenario a kernel is held to.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "scenario.h"

namespace DriverTruth {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Scenario written(const std::string& lines) {
    std::istringstream text("camera {}\n" + lines);
    return readScenario(text, ".");
}

std::string complaint(const std::string& lines) {
    try {
        written(lines);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "none";
}

TEST(AScenario, GivesEachKernelItsOwnAnswer) {
    const Step step =
        written("qbuf a 0 -> EBUSY | since 6.2: EINVAL | since 6.12: ok").steps.front();
    EXPECT_EQ(step.call, "qbuf a 0");
    EXPECT_THAT(step.of({6, 1}), ElementsAre("EBUSY"));
    EXPECT_THAT(step.of({6, 2}), ElementsAre("EINVAL"));
    EXPECT_THAT(step.of({6, 11}), ElementsAre("EINVAL"));
    EXPECT_THAT(step.of({6, 12}), ElementsAre("ok"));
    EXPECT_THAT(step.of({7, 0}), ElementsAre("ok"));
}

TEST(AScenario, AllowsSeveralAnswersOnlyWhereItNamesARace) {
    const Step step = written("join -> EINVAL or ENODEV | since 7.2: ok").steps.front();
    EXPECT_THAT(step.of({6, 12}), ElementsAre("EINVAL", "ENODEV"));
    EXPECT_THAT(step.of({7, 2}), ElementsAre("ok"));
    EXPECT_THAT(written("join").steps.front().of({7, 2}), IsEmpty());
}

TEST(AScenario, SaysWhereItCannotBeRead) {
    EXPECT_THAT(complaint("open a -> ok | EINVAL"), HasSubstr("line 2: "));
    EXPECT_THAT(complaint("open a -> ok | EINVAL"), HasSubstr("since VERSION"));
    EXPECT_THAT(complaint("open a -> ok | since new: EINVAL"), HasSubstr("no version"));
    EXPECT_THAT(complaint("open a -> ok | since 7.2: EIO | since 6.12: EINVAL"),
                HasSubstr("older kernels come first"));
    EXPECT_THAT(complaint("open a -> ok\n  simulator -> EIO"), HasSubstr("says why"));
}

TEST(AKernelsVersion, IsReadFromItsRelease) {
    EXPECT_EQ(readVersion("6.12.107+deb13-arm64"), (KernelVersion{6, 12}));
    EXPECT_GT(readVersion("6.12.0"), readVersion("6.2.99"));
}

}  // namespace
}  // namespace DriverTruth
