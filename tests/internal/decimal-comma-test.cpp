// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Numbers in a process whose C locale has a decimal comma: which texts change with it and which do
// not. Each test makes such a locale and uses it in a process of its own.

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "lumiq/internal/number-parameters.h"
#include "own-process.h"
#include "temporary-folder.h"

namespace Nerio::Lumiq::Internal {
namespace {

// No machine needs to have one installed.
constexpr const char* source = R"(LC_CTYPE
END LC_CTYPE
LC_NUMERIC
decimal_point "<U002C>"
thousands_sep "<U002E>"
grouping 3
END LC_NUMERIC
)";

class WithADecimalComma : public testing::Test {
protected:
    void SetUp() override {
        std::ofstream(folder / "source") << source;
        // Its result is not zero on account of the categories that are missing.
        const std::string command = "localedef --quiet --force -i " + (folder / "source").string() +
                                    " -f ANSI_X3.4-1968 " + (folder / "comma").string() +
                                    " >/dev/null 2>&1";
        (void)!std::system(command.c_str());
        if (!std::filesystem::exists(folder / "comma" / "LC_NUMERIC")) {
            GTEST_SKIP() << "localedef cannot make a locale here";
        }
    }

    void switchLocale() const {
        setenv("LOCPATH", folder.c_str(), 1);
        ASSERT_NE(std::setlocale(LC_NUMERIC, "comma"), nullptr);
        ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    }

private:
    const TestSupport::TemporaryFolder m_made{"locale"};

protected:
    const std::filesystem::path folder = m_made.path();
};

TEST_F(WithADecimalComma, AFloatParameterReadsTheComma) {
    TestSupport::inAProcessOfItsOwn([this] {
        switchLocale();
        FloatParameter parameter(0, 2, 1.5F);
        EXPECT_TRUE(parameter.set("0,5"));
        EXPECT_EQ(parameter.value(), 0.5F);
        EXPECT_TRUE(parameter.set("1.75"));
        EXPECT_EQ(parameter.value(), 1) << "what follows the number is ignored";
    });
}

TEST_F(WithADecimalComma, RangesAndFirstTextsKeepThePoint) {
    TestSupport::inAProcessOfItsOwn([this] {
        switchLocale();
        FloatParameter parameter(0.5F, 12345, 1.5F);
        EXPECT_EQ(parameter.range(), "0.5-12345");
        EXPECT_EQ(parameter.get(), "1.5");
    });
}

TEST_F(WithADecimalComma, AnIntParameterIsReadAndWrittenAsEver) {
    TestSupport::inAProcessOfItsOwn([this] {
        switchLocale();
        IntParameter parameter(0, 1000000, 1234);
        EXPECT_EQ(parameter.range(), "0-1000000");
        EXPECT_EQ(parameter.get(), "1234");
        EXPECT_TRUE(parameter.set("1.234"));
        EXPECT_EQ(parameter.value(), 1);
    });
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
