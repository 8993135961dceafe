// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// The command line, the loading of the plug-in, and the errors of both.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake-run.h"

namespace {

using namespace ToolTest;
using testing::HasSubstr;
using testing::StartsWith;

TEST(TheCommandLine, ExplainsItself) {
    const auto result = runFake({"--help"}, {});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("Exit codes:"));
    EXPECT_THAT(result.out, HasSubstr("lumiq-cam capture 0 -o picture.png"));
    EXPECT_THAT(runFake({"capture", "--help"}, {}).out, HasSubstr(".y4m"));
}

TEST(TheCommandLine, TellsItsVersion) {
    const auto result = runFake({"--version"}, {});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, StartsWith("lumiq-cam "));
}

TEST(TheCommandLine, IsRefusedWhenItMakesNoSense) {
    const std::vector<std::vector<std::string>> wrong{
        {},
        {"fly"},
        {"list", "--nonsense"},
        {"show"},
        {"capture", "0", "--size", "big"},
        {"capture", "0", "--fps", "0"},
        {"capture", "0", "--format", "nope?"},
        {"capture", "0", "--priority", "colour"},
        {"capture", "0", "--count", "0"},
        {"capture", "0", "--count", "-1"},
        {"capture", "0", "--duration", "0"},
        {"capture", "0", "--timeout", "soon"},
        {"capture", "0", "-o", "f-%s.png"},
        {"capture", "0", "-o", "f.png", "--count", "2"},
        {"capture", "0", "--as", "png"},
        {"capture", "0", "-o", "f.y4m", "--convert"},
        {"capture", "0", "-o", "-", "--json"},
        {"closest", "0", "1"}};
    for (const auto& arguments : wrong) {
        const auto result = runFake(arguments, oneCamera());
        EXPECT_EQ(result.code, 2) << testing::PrintToString(arguments);
        EXPECT_THAT(result.err, StartsWith("lumiq-cam: ")) << testing::PrintToString(arguments);
    }
}

TEST(TheCommandLine, ReportsItsErrorsAsJsonWhereAsked) {
    const auto result = runFake({"capture", "0", "--size", "big", "--json"}, oneCamera());
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.json()["error"]["code"], 2);
    EXPECT_EQ(result.json()["error"]["name"], "usage");
    EXPECT_FALSE(result.json()["error"]["advice"].get<std::string>().empty());
}

TEST(ThePlugin, IsNamedByAnOptionOrTheEnvironment) {
    const Environment script{{"LUMIQ_FAKE_PLUGIN", oneCamera().dump()},
                             {"LUMIQ_PLUGIN", "/nonexistent/other.so"}};
    EXPECT_EQ(runTool({"list", "--plugin", LUMIQ_FAKE_PLUGIN_FILE}, script).code, 0);
    EXPECT_EQ(runTool({"list"}, script).code, 4);
    EXPECT_EQ(runFake({"list"}, oneCamera()).code, 0);
}

TEST(ThePlugin, IsMissedWithAWordOnWhatToDo) {
    const auto result = runTool({"list", "--plugin", "/nonexistent/plugin.so"}, {});
    EXPECT_EQ(result.code, 4);
    EXPECT_THAT(result.err, HasSubstr("/nonexistent/plugin.so"));
    EXPECT_THAT(result.err, HasSubstr("--plugin"));
}

TEST(ThePlugin, MustBeOne) {
    const auto result = runTool({"list", "--plugin", "libc.so.6"}, {});
    EXPECT_EQ(result.code, 4);
    EXPECT_THAT(result.err, HasSubstr("not a Lumiq plug-in"));
}

TEST(ThePlugin, MustHaveCameras) {
    EXPECT_EQ(runFake({"list"}, {{"givesManager", false}}).code, 4);
    EXPECT_EQ(runFake({"list"}, {{"givesModule", false}}).code, 4);
}

TEST(ThePlugin, ThatCannotInitialiseIsReportedWithItsLog) {
    const auto result =
        runFake({"list", "--json"},
                {{"init", "false"}, {"log", {"x:1 -- fine", "x:2 -- Can't init gatehold: gone"}}});
    EXPECT_EQ(result.code, 4);
    EXPECT_THAT(result.err, HasSubstr("Can't init gatehold: gone"));
    EXPECT_THAT(result.err, HasSubstr("lumiq-gatehold"));
    EXPECT_FALSE(result.says("fine"));
    EXPECT_EQ(result.json()["error"]["log"][0], "x:2 -- Can't init gatehold: gone");
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
}

TEST(ThePlugin, ThatThrowsFromInitIsReportedWithTheReason) {
    const auto result = runFake({"list"}, {{"init", "no such bus"}});
    EXPECT_EQ(result.code, 4);
    EXPECT_THAT(result.err, HasSubstr("no such bus"));
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
}

TEST(TheLog, IsShownOnDemandOnly) {
    Json script = oneCamera();
    script["log"] = {"x:1 -- an ordinary line"};
    EXPECT_FALSE(runFake({"list"}, script).says("an ordinary line"));
    const auto verbose = runFake({"--verbose", "list"}, script);
    EXPECT_TRUE(verbose.says("an ordinary line"));
    EXPECT_THAT(verbose.out, Not(HasSubstr("an ordinary line")));
}

TEST(TheLog, GoesToSyslogThroughThePluginsOwnFunction) {
    EXPECT_TRUE(runFake({"list", "--syslog"}, oneCamera()).says("LogInit was called"));
    EXPECT_FALSE(runFake({"list"}, oneCamera()).says("LogInit was called"));
}

}  // namespace
