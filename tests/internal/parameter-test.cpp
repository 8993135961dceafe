// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Settings as text: what each kind of parameter takes, keeps and says. One thread.

#include "lumiq/internal/parameter.h"

#include <gtest/gtest.h>

#include <limits>
#include <locale>
#include <string>
#include <type_traits>

#include "lumiq/internal/number-parameters.h"
#include "lumiq/internal/read-only-parameter.h"

namespace Nerio::Lumiq::Internal {
namespace {

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();
constexpr float infinity = std::numeric_limits<float>::infinity();

static_assert(std::has_virtual_destructor_v<Parameter>);
static_assert(!std::is_copy_constructible_v<Parameter>);
static_assert(std::is_base_of_v<TypedParameter<int>, IntParameter>);
static_assert(std::is_base_of_v<TypedParameter<float>, FloatParameter>);
static_assert(std::is_base_of_v<Parameter, ReadOnlyParameter>);

TEST(AParameter, IsEmptyAtFirstUnlessItIsGivenAText) {
    EXPECT_EQ(Parameter().get(), "");
    EXPECT_EQ(Parameter("text").get(), "text");
}

TEST(AParameter, TakesAnyTextAndSaysNothingOfItsRange) {
    Parameter parameter("before");
    EXPECT_EQ(parameter.range(), "-");
    const std::string binary("a\0,\n b", 6);
    for (const std::string& text : {std::string("x"), std::string(), binary}) {
        EXPECT_TRUE(parameter.validate(text));
        EXPECT_EQ(parameter.adjust(text), text);
        EXPECT_TRUE(parameter.set(text));
        EXPECT_EQ(parameter.get(), text);
    }
}

TEST(AParameter, HandsOutACopyOfItsText) {
    Parameter parameter("text");
    std::string copy = parameter.get();
    copy += " changed";
    EXPECT_EQ(parameter.get(), "text");
}

// Refuses "no", and puts brackets around the rest.
class Bracketed : public Parameter {
public:
    using Parameter::Parameter;
    bool validate(const std::string& value) override { return value != "no"; }
    std::string adjust(const std::string& value) override { return "[" + value + "]"; }
};

TEST(AParameter, StoresWhatADerivedClassMakesOfAValidValue) {
    Bracketed parameter("first");
    EXPECT_TRUE(parameter.set("yes"));
    EXPECT_EQ(parameter.get(), "[yes]");
    EXPECT_FALSE(parameter.set("no"));
    EXPECT_EQ(parameter.get(), "[yes]");
}

TEST(AParameter, IsAssignedATextWithoutAnyCheck) {
    Bracketed parameter;
    parameter.assign("no");
    EXPECT_EQ(parameter.get(), "no");
}

TEST(AReadOnlyParameter, RefusesEveryValueAndCanStillBeAssigned) {
    ReadOnlyParameter parameter("1.0");
    for (const char* const value : {"", "1.0", "2.0"}) {
        EXPECT_FALSE(parameter.set(value));
        EXPECT_EQ(parameter.get(), "1.0");
    }
    EXPECT_EQ(parameter.range(), "-");
    parameter.assign("2.0");
    EXPECT_EQ(parameter.get(), "2.0");
    EXPECT_EQ(ReadOnlyParameter().get(), "");
}

template <typename Number, typename T>
class ANumber : public testing::Test {
protected:
    ANumber(T minimum, T maximum, T value) : parameter(minimum, maximum, value) {}

    void expectTaken(const std::string& text, T value) {
        EXPECT_TRUE(parameter.validate(text)) << text;
        EXPECT_TRUE(parameter.set(text)) << text;
        EXPECT_EQ(parameter.get(), text);
        EXPECT_EQ(parameter.value(), value) << text;
    }

    // Nothing changes.
    void expectRefused(const std::string& text) {
        const std::string before = parameter.get();
        const T valueBefore = parameter.value();
        EXPECT_FALSE(parameter.validate(text)) << text;
        EXPECT_FALSE(parameter.set(text)) << text;
        EXPECT_EQ(parameter.get(), before) << text;
        EXPECT_EQ(parameter.value(), valueBefore) << text;
    }

    Number parameter;
};

class AnIntParameter : public ANumber<IntParameter, int> {
protected:
    AnIntParameter() : ANumber(0, 255, 7) {}
};

TEST_F(AnIntParameter, BeginsWithItsFirstValue) {
    EXPECT_EQ(parameter.get(), "7");
    EXPECT_EQ(parameter.value(), 7);
    EXPECT_EQ(IntParameter(lowest, highest, lowest).get(), "-2147483648");
}

TEST_F(AnIntParameter, TakesDecimalHexadecimalAndOctalNumbersAndKeepsTheText) {
    expectTaken("0x10", 16);
    expectTaken("0XfF", 255);
    expectTaken("010", 8);
    expectTaken("10", 10);
    expectTaken("+5", 5);
    expectTaken("-0", 0);
}

TEST_F(AnIntParameter, TakesItsBoundsAndNothingBeyond) {
    expectTaken("0", 0);
    expectTaken("255", 255);
    expectRefused("256");
    expectRefused("0x100");
    expectRefused("-1");
}

TEST_F(AnIntParameter, IgnoresWhatFollowsTheNumber) {
    expectTaken("12abc", 12);
    expectTaken("1 2", 1);
    expectTaken("1e2", 1);
    expectTaken("08", 0);
    expectTaken(std::string("34\0"
                            "56",
                            5),
                34);
}

TEST_F(AnIntParameter, SkipsWhiteSpaceBeforeTheNumberAndKeepsItInTheText) {
    expectTaken(" 7", 7);
    expectTaken("\t\n\v\f\r 9", 9);
}

TEST_F(AnIntParameter, RefusesWhatIsNoNumber) {
    for (const char* const text :
         {"", " ", "abc", "-", "+", "+-5", "- 5", ".5", "x10", ",", "nan", "\xD9\xA3"}) {
        expectRefused(text);
    }
    expectRefused(
        std::string("\0"
                    "5",
                    2));
}

TEST_F(AnIntParameter, RefusesNumbersTooLongForAnIntInsteadOfWrappingAround) {
    const std::string digits(10000, '9');
    for (const std::string& text :
         {std::string("4294967296"), std::string("4294967306"), std::string("-4294967290"),
          std::string("18446744073709551621"), std::string("0x100000005"),
          std::string("99999999999999999999"), "-" + digits, digits, "0x" + digits}) {
        expectRefused(text);
    }
    // Long, but a small number.
    expectTaken(std::string(10000, '0') + "17", 15);
}

TEST(TheWidestIntParameter, TakesEveryIntAndNoMore) {
    IntParameter parameter(lowest, highest, 0);
    EXPECT_TRUE(parameter.set("2147483647"));
    EXPECT_EQ(parameter.value(), highest);
    EXPECT_TRUE(parameter.set("-2147483648"));
    EXPECT_EQ(parameter.value(), lowest);
    for (const char* const text : {"2147483648", "-2147483649", "0xffffffff", "0x80000000"}) {
        EXPECT_FALSE(parameter.set(text)) << text;
        EXPECT_EQ(parameter.value(), lowest);
    }
    EXPECT_EQ(parameter.range(), "-2147483648-2147483647");
}

TEST(AnIntParametersRange, IsMinimumDashMaximum) {
    EXPECT_EQ(IntParameter(0, 255, 0).range(), "0-255");
    EXPECT_EQ(IntParameter(-10, 10, 0).range(), "-10-10");
    EXPECT_EQ(IntParameter(-10, -5, -5).range(), "-10--5");
}

TEST(AnIntParameterWithoutRoom, RefusesEveryValue) {
    IntParameter parameter(10, -10, 3);
    for (const char* const text : {"10", "-10", "0", "3"}) {
        EXPECT_FALSE(parameter.set(text)) << text;
    }
    EXPECT_EQ(parameter.get(), "3");
}

TEST(AnIntParametersConversion, LeavesTheBoundsToValidate) {
    IntParameter parameter(0, 10, 5);
    int value = -1;
    EXPECT_TRUE(parameter.convert("1000", &value));
    EXPECT_EQ(value, 1000);
    EXPECT_FALSE(parameter.convert("x", &value));
    EXPECT_EQ(value, 1000);
    EXPECT_FALSE(parameter.convert("9999999999", &value));
    EXPECT_EQ(value, 1000);
    EXPECT_EQ(parameter.value(), 5);
}

TEST(AnAssignedNumber, ChangesTheTextAlone) {
    IntParameter whole(0, 10, 5);
    whole.assign("1000");
    EXPECT_EQ(whole.get(), "1000");
    EXPECT_EQ(whole.value(), 5);
    FloatParameter fraction(0, 1, 0.5F);
    fraction.assign("x");
    EXPECT_EQ(fraction.get(), "x");
    EXPECT_EQ(fraction.value(), 0.5F);
}

class AFloatParameter : public ANumber<FloatParameter, float> {
protected:
    AFloatParameter() : ANumber(0.5F, 2, 1.25F) {}
};

TEST_F(AFloatParameter, BeginsWithItsFirstValue) {
    EXPECT_EQ(parameter.get(), "1.25");
    EXPECT_EQ(parameter.value(), 1.25F);
}

TEST_F(AFloatParameter, TakesNumbersBetweenItsBoundsAndKeepsTheText) {
    expectTaken("0.5", 0.5F);
    expectTaken("2", 2);
    expectTaken(" 1.5x", 1.5F);
    expectTaken("15e-1", 1.5F);
    expectTaken("0x1.8p0", 1.5F);
    expectTaken("+.75", 0.75F);
}

TEST_F(AFloatParameter, RefusesWhatIsNoNumberOrBeyondItsBounds) {
    for (const char* const text : {"", " ", "abc", ".", "-", "0.49", "2.01", "-1", "1e999",
                                   "-1e999", "inf", "-infinity", "nan", "1e-50"}) {
        expectRefused(text);
    }
    expectRefused(std::string(10000, '9'));
}

TEST(AnInfiniteFloatParameter, TakesInfiniteNumbersButNoNan) {
    FloatParameter parameter(-infinity, infinity, 0);
    EXPECT_TRUE(parameter.set("1e999"));
    EXPECT_EQ(parameter.value(), infinity);
    EXPECT_TRUE(parameter.set("-inf"));
    EXPECT_EQ(parameter.value(), -infinity);
    EXPECT_FALSE(parameter.set("nan"));
    EXPECT_EQ(parameter.get(), "-inf");
    EXPECT_EQ(parameter.value(), -infinity);
}

TEST(AFloatParametersRange, HasSixSignificantDigitsAndNoTrailingZeros) {
    EXPECT_EQ(FloatParameter(0.5F, 2, 1).range(), "0.5-2");
    EXPECT_EQ(FloatParameter(-0.5F, -0.25F, 0).range(), "-0.5--0.25");
    EXPECT_EQ(FloatParameter(1.0F / 3, 1234567, 1).range(), "0.333333-1.23457e+06");
}

TEST(AFloatParametersConversion, LeavesTheBoundsToValidate) {
    FloatParameter parameter(0, 1, 0.5F);
    float value = -1;
    EXPECT_TRUE(parameter.convert("1000.5", &value));
    EXPECT_EQ(value, 1000.5F);
    EXPECT_FALSE(parameter.convert("x", &value));
    EXPECT_EQ(value, 1000.5F);
    EXPECT_EQ(parameter.value(), 0.5F);
}

// Stores a rounded text beside the exact value.
class RoundedText : public IntParameter {
public:
    using IntParameter::IntParameter;
    std::string adjust(const std::string& /*value*/) override { return "1000"; }
};

TEST(ATypedParameter, ConvertsWhatWasPassedInNotTheAdjustedText) {
    RoundedText parameter(0, 10, 5);
    EXPECT_TRUE(parameter.set("9"));
    EXPECT_EQ(parameter.get(), "1000");
    EXPECT_EQ(parameter.value(), 9);
}

// Finds everything valid, but converts only what begins with a digit.
class Trusting : public IntParameter {
public:
    using IntParameter::IntParameter;
    bool validate(const std::string& /*value*/) override { return true; }
};

TEST(ATypedParameter, SaysNoWhenAValidValueDoesNotConvertThoughItsTextIsStored) {
    Trusting parameter(0, 10, 5);
    EXPECT_FALSE(parameter.set("x"));
    EXPECT_EQ(parameter.get(), "x");
    EXPECT_EQ(parameter.value(), 5);
}

class GroupedDigits : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return '.'; }
    char do_decimal_point() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(ANumbersText, IsPlainWhateverTheGlobalLocale) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new GroupedDigits));
    IntParameter whole(-1000000, 1000000, 1234567);
    FloatParameter fraction(0.5F, 12345, 0.25F);
    const std::string texts =
        whole.range() + " " + whole.get() + " " + fraction.range() + " " + fraction.get();
    std::locale::global(before);
    EXPECT_EQ(texts, "-1000000-1000000 1234567 0.5-12345 0.25");
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
