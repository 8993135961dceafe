// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// A host of the codec: loads the plug-in by its path, encodes a picture, decodes it again, says how
// close it came, and leaves files to look at. Of the plug-in it knows the contract, and the numbers
// of its settings. One thread.

#include <getopt.h>

#include <array>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "../settings.h"
#include "picture.h"
#include "plug-in.h"
#include "png-file.h"

namespace EncodeAndDecode {
namespace {

using Nerio::Lumiq::CodecManager;
using Nerio::Lumiq::CodecParameter;
using Nerio::Lumiq::CodecType;
using Nerio::Lumiq::EncodedPicture;
using Nerio::Lumiq::VideoEncoder;
using Nerio::Lumiq::YCbCrFrame;

constexpr const char* usage =
    "Usage: encode-and-decode [OPTION]... PLUG-IN FOLDER\n"
    "\n"
    "Encodes a picture with the plug-in's JPEG encoder and decodes it with its decoder. Leaves\n"
    "source.png, picture.jpg and decoded.png in FOLDER, which has to exist.\n"
    "\n"
    "  --picture FILE.png  encodes this picture instead of a painted one\n"
    "  --set NAME=VALUE    changes a setting of the encoder: quality, chroma\n"
    "  --help              prints this\n";

/// The command line makes no sense.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Setting {
    std::string name;
    CodecParameter parameter;
};
const std::array<Setting, 3> settings = {{
    {"quality", SoftwareCodec::quality},
    {"chroma", SoftwareCodec::chroma},
    {"last-size", SoftwareCodec::lastSize},
}};

struct Arguments {
    bool help = false;
    std::string plugIn;
    std::string folder;
    std::string picture;
    std::vector<std::pair<Setting, std::string>> changes;
};

std::pair<Setting, std::string> parseChange(const std::string& text) {
    const std::size_t equals = text.find('=');
    for (const Setting& setting : settings) {
        if (equals != std::string::npos && setting.name == text.substr(0, equals)) {
            return {setting, text.substr(equals + 1)};
        }
    }
    throw UsageError("no such setting: " + text);
}

Arguments parseArguments(int argc, char** argv) {
    static const std::array<option, 4> options = {{{"picture", required_argument, nullptr, 'p'},
                                                   {"set", required_argument, nullptr, 's'},
                                                   {"help", no_argument, nullptr, 'h'},
                                                   {}}};
    Arguments arguments;
    for (int found = 0; (found = getopt_long(argc, argv, "", options.data(), nullptr)) != -1;) {
        switch (found) {
            case 'p':
                arguments.picture = optarg;
                break;
            case 's':
                arguments.changes.push_back(parseChange(optarg));
                break;
            case 'h':
                arguments.help = true;
                return arguments;
            default:
                throw UsageError("see --help");
        }
    }
    if (argc - optind != 2) {
        throw UsageError("a plug-in and a folder have to be named; see --help");
    }
    arguments.plugIn = argv[optind];
    arguments.folder = argv[optind + 1];
    return arguments;
}

void printCodecs(const CodecManager& codecs) {
    for (const auto& codec : codecs.listCodecs()) {
        std::cout << "codec    " << codec.id << ": " << (codec.isEncoder ? "encoder" : "decoder")
                  << " in " << (codec.isHardware ? "hardware" : "software") << ", "
                  << codec.maxInstances << " at once\n";
    }
}

void applySettings(VideoEncoder& encoder, const Arguments& arguments) {
    for (const auto& [setting, value] : arguments.changes) {
        if (!encoder.setParameter(setting.parameter, value)) {
            throw std::runtime_error(
                "the setting " + setting.name + " does not take \"" + value +
                "\"; its range: " + encoder.getParameterRange(setting.parameter));
        }
    }
}

void printSettings(VideoEncoder& encoder) {
    for (const Setting& setting : settings) {
        std::cout << "setting  " << setting.name << " = " << encoder.getParameter(setting.parameter)
                  << ", of " << encoder.getParameterRange(setting.parameter) << "\n";
    }
}

EncodedPicture encode(VideoEncoder& encoder, const YCbCrFrame& picture) {
    if (!encoder.start({CodecType::JPEG, picture.width, picture.height, 0})) {
        throw std::runtime_error("the encoder takes no pictures of this size");
    }
    if (!encoder.encode(picture)) {
        throw std::runtime_error("the picture cannot be encoded");
    }
    encoder.eos();
    const auto encoded = encoder.takeEncoded();
    if (!encoded) {
        throw std::runtime_error("the encoder gives nothing back");
    }
    return *encoded;
}

std::shared_ptr<YCbCrFrame> decode(CodecManager& codecs, const std::vector<std::uint8_t>& bytes,
                                   int width, int height) {
    const auto decoder = codecs.createVideoDecoder(CodecType::JPEG, false);
    if (!decoder) {
        throw std::runtime_error("the plug-in has no JPEG decoder left");
    }
    if (!decoder->start({CodecType::JPEG, width, height}) ||
        !decoder->decode(bytes.data(), bytes.size(), -1)) {
        throw std::runtime_error("the encoded picture cannot be decoded");
    }
    // No more comes: a decoder that waits for the next picture gives this one back now.
    decoder->decode(nullptr, 0, -1);
    auto picture = decoder->takeDecoded();
    if (!picture) {
        throw std::runtime_error("the decoder gives nothing back");
    }
    return picture;
}

void writeBytes(const std::string& file, const std::vector<std::uint8_t>& bytes) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()));
    if (!stream.flush()) {
        throw std::runtime_error(file + " cannot be written");
    }
}

void run(const Arguments& arguments) {
    const RgbPicture source =
        arguments.picture.empty() ? paintPicture(640, 480) : readPng(arguments.picture);
    const I420Picture original(source);
    const YCbCrFrame frame = original.frame();

    const auto codecs = loadCodecs(arguments.plugIn);
    printCodecs(*codecs);
    const auto encoder = codecs->createVideoEncoder(CodecType::JPEG, false);
    if (!encoder) {
        throw std::runtime_error("the plug-in has no JPEG encoder left");
    }
    applySettings(*encoder, arguments);
    const EncodedPicture encoded = encode(*encoder, frame);
    printSettings(*encoder);
    const auto decoded = decode(*codecs, encoded.data, frame.width, frame.height);

    const Likeness likeness = compare(*decoded, frame);
    std::printf("picture  %dx%d, %zu bytes of 4:2:0, %zu bytes of JPEG\n", frame.width,
                frame.height, original.size(), encoded.data.size());
    std::printf("decoded  Y %.1f dB, Cb %.1f dB, Cr %.1f dB from the source\n", likeness.y,
                likeness.cb, likeness.cr);
    writePng(arguments.folder + "/source.png", toRgb(frame));
    writeBytes(arguments.folder + "/picture.jpg", encoded.data);
    writePng(arguments.folder + "/decoded.png", toRgb(*decoded));
    std::printf("written  source.png, picture.jpg, decoded.png in %s\n", arguments.folder.c_str());
}

}  // namespace
}  // namespace EncodeAndDecode

int main(int argc, char** argv) {
    try {
        const auto arguments = EncodeAndDecode::parseArguments(argc, argv);
        if (arguments.help) {
            std::cout << EncodeAndDecode::usage;
            return 0;
        }
        EncodeAndDecode::run(arguments);
    } catch (const EncodeAndDecode::UsageError& error) {
        std::cerr << "encode-and-decode: " << error.what() << "\n";
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "encode-and-decode: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
