// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// list, show, closest and watch.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "fake-run.h"

namespace {

using namespace ToolTest;
using testing::HasSubstr;

Json threeCameras() {
    return {{"cameras",
             {fakeCamera("/cam/front", "Front camera"), fakeCamera("/cam/back", "Back camera"),
              fakeCamera("/cam/wide", "Wide")}}};
}

TEST(List, ShowsNumberNameAndId) {
    const auto result = runFake({"list"}, threeCameras());
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out,
              "0  Front camera  /cam/front\n"
              "1  Back camera   /cam/back\n"
              "2  Wide          /cam/wide\n");
    EXPECT_EQ(result.err, "");
}

TEST(List, SpeaksJson) {
    const auto cameras = runFake({"list", "--json"}, threeCameras()).json()["cameras"];
    ASSERT_EQ(cameras.size(), 3U);
    EXPECT_EQ(
        cameras[1],
        Json({{"index", 1}, {"id", "/cam/back"}, {"name", "Back camera"}, {"provider", "fake"}}));
}

TEST(List, OfNoCamerasIsNoFailure) {
    const auto result = runFake({"list"}, Json::object());
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("no cameras"));
    EXPECT_EQ(runFake({"list", "--json"}, Json::object()).json(),
              Json({{"cameras", Json::array()}}));
}

TEST(List, DoesNotLetANameSteerTheTerminal) {
    const auto result = runFake({"list"}, {{"cameras", {fakeCamera("/a", "evil\x1B[2J\nname")}}});
    EXPECT_EQ(result.out, "0  evil?[2J?name  /a\n");
}

TEST(ACamera, IsNamedByNumberIdOrPartOfItsName) {
    for (const char* text : {"1", "/cam/back", "Back camera", "back", "BACK"}) {
        const auto result = runFake({"show", text, "--json"}, threeCameras());
        ASSERT_EQ(result.code, 0) << text << result.err;
        EXPECT_EQ(result.json()["camera"]["id"], "/cam/back") << text;
    }
}

TEST(ACamera, ThatIsNotThereIsRefusedWithAListOfThoseThatAre) {
    for (const char* text : {"3", "nothing", "/cam/nothing", "99999999999999999999", ""}) {
        const auto result = runFake({"show", text}, threeCameras());
        EXPECT_EQ(result.code, 3) << text;
        EXPECT_THAT(result.err, HasSubstr("/cam/wide")) << text;
    }
    EXPECT_EQ(runFake({"show", "0"}, Json::object()).code, 3);
}

TEST(ACamera, WhoseNameFitsSeveralIsAskedForAgain) {
    const auto result = runFake({"show", "camera"}, threeCameras());
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.err, HasSubstr("fits 2 cameras"));
    EXPECT_THAT(result.err, HasSubstr("/cam/front"));
    EXPECT_THAT(result.err, HasSubstr("/cam/back"));
    EXPECT_FALSE(result.says("/cam/wide"));
}

TEST(ACamera, WhoseWholeNameIsGivenIsMeantAlsoIfOthersContainIt) {
    const Json script{{"cameras", {fakeCamera("/a", "Wide angle"), fakeCamera("/b", "wide")}}};
    EXPECT_EQ(runFake({"show", "Wide", "--json"}, script).json()["camera"]["id"], "/b");
}

Json detailedCamera() {
    return oneCamera({{"formats", {{"YUV420Planar"}, "Raw", "YUYV"}},
                      {"ranges", {{"min", {160, 120}}, {"max", {1280, 720}}, {"step", {16, 8}}}},
                      {"capabilities", {{640, 480, 30}, {1280, 720, 30}}}});
}

TEST(Show, TellsHowEachFormatIsObtained) {
    const auto document = runFake({"show", "0", "--json"}, detailedCamera()).json();
    ASSERT_EQ(document["formats"].size(), 3U);
    EXPECT_EQ(document["formats"][0]["format"]["name"], "YUV420Planar");
    EXPECT_EQ(document["formats"][0]["obtained"], "converted");
    EXPECT_EQ(document["formats"][2]["obtained"], "direct");
    EXPECT_EQ(document["formats"][2]["abstract"], false);
    EXPECT_EQ(document["formats"][2]["ranges"]["maxWidth"], 1280);
    EXPECT_EQ(document["formats"][2]["ranges"]["maxFps"]["numerator"], 30);
    EXPECT_EQ(document["capabilities"][1], Json({{"width", 1280}, {"height", 720}, {"fps", 30}}));
}

TEST(Show, IsReadable) {
    const auto result = runFake({"show", "0"}, detailedCamera());
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("Name      Front camera\n"));
    EXPECT_THAT(result.out,
                HasSubstr("  YUV420Planar      converted  160x120 to 1280x720, in steps of 16x8"));
    EXPECT_THAT(result.out, HasSubstr("  1280x720 at 30 fps\n"));
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
}

TEST(Show, ManagesWithACameraThatTellsNothing) {
    const auto result = runFake({"show", "0"}, oneCamera());
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("nothing listed"));
    EXPECT_THAT(result.out, HasSubstr("none listed"));
}

TEST(Show, FailsForACameraThatCannotBeAsked) {
    const auto result = runFake({"show", "0"}, oneCamera({{"formats", Json::array()}}));
    EXPECT_EQ(result.code, 7);
    EXPECT_THAT(result.err, HasSubstr("formats"));
}

TEST(Closest, ShowsWhatTheBackEndFinds) {
    const Json script = oneCamera({{"closest", {1280, 720, 30000, 1001}}});
    const auto result = runFake({"closest", "0", "--size", "1280x800", "--fps", "25"}, script);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "1280x720 at 29.97 (30000/1001) fps\n");
    const auto document =
        runFake({"closest", "0", "--size", "1280x800", "--priority", "fps-width", "--json"}, script)
            .json();
    EXPECT_EQ(document["found"], true);
    EXPECT_EQ(document["size"], Json({{"width", 1280}, {"height", 720}}));
    EXPECT_EQ(document["fps"]["denominator"], 1001);
    EXPECT_EQ(document["wish"]["priority"], "fps-width");
}

TEST(Closest, FallsBackToTheRanges) {
    const Json script =
        oneCamera({{"findsClosest", false},
                   {"ranges", {{"min", {160, 120}}, {"max", {1280, 720}}, {"step", {16, 8}}}}});
    const auto result = runFake({"closest", "0", "--size", "500x301", "--json"}, script);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.json()["found"], false);
    EXPECT_EQ(result.json()["size"], Json({{"width", 496}, {"height", 304}}));
    EXPECT_THAT(result.err, HasSubstr("500x301"));
}

TEST(Closest, RefusesAFormatThatTheCameraLacks) {
    const auto result = runFake({"closest", "0", "--format", "MJPG"}, oneCamera());
    EXPECT_EQ(result.code, 7);
    EXPECT_THAT(result.err, HasSubstr("YUYV"));
}

Json comingAndGoing() {
    Json script = threeCameras();
    script["later"] = {{{"afterMs", 20}, {"add", fakeCamera("/cam/new", "New one")}},
                       {{"afterMs", 40}, {"remove", "/cam/back"}}};
    return script;
}

TEST(Watch, ShowsWhatIsThereAndWhatComesAndGoes) {
    const auto result = runFake({"watch", "--json", "--count", "2"}, comingAndGoing());
    EXPECT_EQ(result.code, 0);
    const auto lines = result.jsonLines();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0]["event"], "present");
    EXPECT_EQ(lines[2]["camera"]["id"], "/cam/wide");
    EXPECT_EQ(lines[3]["event"], "added");
    EXPECT_EQ(lines[3]["camera"]["name"], "New one");
    EXPECT_EQ(lines[4]["event"], "removed");
    EXPECT_EQ(lines[4]["camera"]["id"], "/cam/back");
    EXPECT_EQ(lines[4]["camera"]["name"], "Back camera");
    EXPECT_THAT(lines[4]["time"].get<std::string>(), testing::MatchesRegex(".*T.*[.][0-9]{3}Z"));
    EXPECT_FALSE(brokeTheContract(result)) << result.err;
}

TEST(Watch, IsReadable) {
    const auto result = runFake({"watch", "--count", "2"}, comingAndGoing());
    EXPECT_THAT(result.out, HasSubstr("  present  Front camera  /cam/front\n"));
    EXPECT_THAT(result.out, HasSubstr("  removed  Back camera  /cam/back\n"));
}

TEST(Watch, EndsAfterItsTime) {
    const auto result = runFake({"watch", "--duration", "0.05"}, Json::object());
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "");
}

TEST(Watch, EndsWithASignal) {
    for (const int signal : {SIGINT, SIGTERM}) {
        auto process = startTool({"watch"}, fakeEnvironment(threeCameras()));
        ASSERT_TRUE(waitForError(process, "watching"));
        process.signal(signal);
        const auto result = finish(process);
        EXPECT_EQ(result.code, 0) << signal;
        EXPECT_FALSE(brokeTheContract(result)) << result.err;
    }
}

TEST(Watch, SendsEachEventAtOnce) {
    auto process = startTool({"watch", "--json"}, fakeEnvironment(comingAndGoing()));
    EXPECT_TRUE(waitForOutput(process, "\"removed\""));
    process.signal(SIGTERM);
    EXPECT_EQ(finish(process).code, 0);
}

}  // namespace
