// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Summing up a capture; see the header.
#include "capture-summary.h"

namespace LumiqCam {
namespace {

std::string number(std::uint64_t value) {
    return std::to_string(value);
}

std::string sizeText(std::uint64_t bytes) {
    const auto value = static_cast<double>(bytes);
    if (value < 1e3) {
        return number(bytes) + " bytes";
    }
    return value < 1e6 ? withDecimals(value / 1e3, 1) + " kB"
                       : withDecimals(value / 1e6, 1) + " MB";
}

std::string formatText(const OperatingPoint& point, const CaptureOutcome& outcome) {
    const PixelFormat delivered = outcome.progress.delivered;
    const std::string asked = printable(toString(point.format));
    return delivered == PixelFormat::Invalid || delivered == point.format
               ? asked
               : asked + " as " + printable(toString(delivered));
}

std::string framesText(const CaptureOutcome& outcome) {
    const StreamSummary& stream = outcome.stream;
    std::string text = number(stream.frames) + (stream.frames == 1 ? " frame in " : " frames in ") +
                       withDecimals(outcome.seconds, 2) + " s" +
                       (stream.fps > 0 ? ", " + withDecimals(stream.fps, 2) + " fps; " : "; ") +
                       number(stream.lost) + " lost, " + number(outcome.progress.dropped) +
                       " dropped, " + number(outcome.progress.converted) + " converted";
    if (outcome.progress.unusable > 0) {
        text += ", " + number(outcome.progress.unusable) + " unusable (" +
                outcome.progress.problem + ")";
    }
    return text + "\n";
}

std::string timingText(const StreamSummary& stream) {
    if (stream.frames < 2) {
        return "";
    }
    std::string text = "jitter " + withDecimals(stream.jitterMs, 2) + " ms; intervals " +
                       withDecimals(stream.meanMs, 2) + " ms, from " +
                       withDecimals(stream.leastMs, 2) + " to " + withDecimals(stream.mostMs, 2);
    if (stream.firstMs) {
        text += "; first frame after " + withDecimals(*stream.firstMs, 1) + " ms";
    }
    return text + "\n";
}

std::string outputText(const Options& options, const CaptureOutcome& outcome) {
    if (options.output.container == Container::None || outcome.written == 0) {
        return "";
    }
    const std::string where = options.output.standardOutput ? "standard output"
                              : outcome.files == 1          ? options.output.pathFor(1)
                                                            : options.output.path;
    return number(outcome.written) + " written to " + where + ", " + sizeText(outcome.bytes) + "\n";
}

Json outputDocument(const Options& options, const CaptureOutcome& outcome) {
    if (options.output.container == Container::None) {
        return {};
    }
    return {{"path", options.output.path},
            {"frames", outcome.written},
            {"files", outcome.files},
            {"bytes", outcome.bytes}};
}

Json framesDocument(const CaptureOutcome& outcome) {
    return {{"received", outcome.stream.frames},
            {"lost", outcome.stream.lost},
            {"dropped", outcome.progress.dropped},
            {"unusable", outcome.progress.unusable},
            {"converted", outcome.progress.converted}};
}

Json timingDocument(const StreamSummary& stream) {
    return {{"mean", stream.meanMs},
            {"least", stream.leastMs},
            {"most", stream.mostMs},
            {"jitter", stream.jitterMs}};
}

}  // namespace

Json summaryDocument(const Options& options, const Nerio::Lumiq::CameraInfo& camera,
                     const OperatingPoint& point, const CaptureOutcome& outcome) {
    Json document{{"camera", toJson(camera)},
                  {"format",
                   {{"wished", toJson(options.wish.format)},
                    {"asked", toJson(point.format)},
                    {"delivered", toJson(outcome.progress.delivered)}}},
                  {"size", toJson(point.size)},
                  {"fps", {{"asked", toJson(point.fps)}, {"measured", outcome.stream.fps}}},
                  {"found", point.foundByBackEnd},
                  {"seconds", outcome.seconds},
                  {"frames", framesDocument(outcome)},
                  {"intervalMs", timingDocument(outcome.stream)}};
    document["firstFrameMs"] = outcome.stream.firstMs ? Json(*outcome.stream.firstMs) : Json();
    document["output"] = outputDocument(options, outcome);
    document["end"] = toText(outcome.end);
    document["exitCode"] = static_cast<int>(outcome.exitCode());
    return document;
}

std::string summaryText(const Options& options, const Nerio::Lumiq::CameraInfo& camera,
                        const OperatingPoint& point, const CaptureOutcome& outcome) {
    return printable(camera.name) + ": " + formatText(point, outcome) + ", " + toText(point.size) +
           " at " + toText(point.fps) + " fps\n" + framesText(outcome) +
           timingText(outcome.stream) + outputText(options, outcome);
}

}  // namespace LumiqCam
