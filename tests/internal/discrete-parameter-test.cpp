// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Settings with a list of allowed words, alone and joined with each kind of parameter. One thread.

#include "lumiq/internal/discrete-parameter-mixin.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "lumiq/internal/parameter-set.h"
#include "lumiq/internal/typed-parameter.h"

namespace Nerio::Lumiq::Internal {
namespace {

TEST(ADiscreteList, ReadsAsItsValuesWithCommasBetween) {
    EXPECT_EQ(DiscreteParameterMixin({"auto", "manual"}).range(), "auto,manual");
    EXPECT_EQ(DiscreteParameterMixin({"manual", "auto", "off"}).range(), "manual,auto,off");
    EXPECT_EQ(DiscreteParameterMixin({"auto"}).range(), "auto");
    EXPECT_EQ(DiscreteParameterMixin({}).range(), "");
    EXPECT_EQ(DiscreteParameterMixin({"", "a", ""}).range(), ",a,");
}

TEST(ADiscreteList, HoldsItsValuesToTheLetter) {
    const DiscreteParameterMixin list({"auto", "manual"});
    EXPECT_TRUE(list.validate("auto"));
    EXPECT_TRUE(list.validate("manual"));
    for (const char* const text :
         {"", "Auto", "auto ", " auto", "aut", "auto,manual", "automanual"}) {
        EXPECT_FALSE(list.validate(text)) << text;
    }
    EXPECT_FALSE(list.validate(std::string("auto\0", 5)));
    EXPECT_FALSE(DiscreteParameterMixin({}).validate(""));
    EXPECT_TRUE(DiscreteParameterMixin({"", "a"}).validate(""));
}

TEST(ADiscreteList, CountsPositionsFromZeroAndGivesItsSizeForAnAbsentValue) {
    const DiscreteParameterMixin list({"auto", "manual", "auto"});
    EXPECT_EQ(list.index("auto"), 0U);
    EXPECT_EQ(list.index("manual"), 1U);
    EXPECT_EQ(list.index("Manual"), 3U);
    EXPECT_EQ(DiscreteParameterMixin({}).index("auto"), 0U);
}

// A word that stands for a number: the typed parameter keeps the word's position as its value.
class Exposure : public TypedParameter<int>, public DiscreteParameterMixin {
public:
    Exposure() : TypedParameter("auto", 0), DiscreteParameterMixin({"auto", "manual", "off"}) {}
    std::string range() override { return DiscreteParameterMixin::range(); }
    bool validate(const std::string& value) override {
        return DiscreteParameterMixin::validate(value);
    }
    bool convert(const std::string& text, int* value) override {
        if (!validate(text)) {
            return false;
        }
        *value = static_cast<int>(index(text));
        return true;
    }
};

TEST(ADiscreteParameter, TakesAWordOfItsListAndKnowsItsNumber) {
    Exposure exposure;
    EXPECT_EQ(exposure.get(), "auto");
    EXPECT_EQ(exposure.value(), 0);
    EXPECT_TRUE(exposure.set("off"));
    EXPECT_EQ(exposure.get(), "off");
    EXPECT_EQ(exposure.value(), 2);
    EXPECT_FALSE(exposure.set("Manual"));
    EXPECT_FALSE(exposure.set("1"));
    EXPECT_EQ(exposure.get(), "off");
    EXPECT_EQ(exposure.value(), 2);
}

TEST(ADiscreteParameter, IsOneAmongOthersInASet) {
    ParameterSet parameters;
    auto exposure = std::make_unique<Exposure>();
    Exposure* const registered = exposure.get();
    ASSERT_TRUE(parameters.registerParameter(9, exposure.release()));
    EXPECT_EQ(parameters.range(9), "auto,manual,off");
    EXPECT_TRUE(parameters.set(9, "manual"));
    EXPECT_EQ(parameters.get(9), "manual");
    EXPECT_EQ(registered->value(), 1);
    EXPECT_FALSE(parameters.change(9, "auto"));
}

// A word and nothing but the word.
class Preset : public Parameter, public DiscreteParameterMixin {
public:
    Preset() : Parameter("soft"), DiscreteParameterMixin({"soft", "sharp"}) {}
    std::string range() override { return DiscreteParameterMixin::range(); }
    bool validate(const std::string& value) override {
        return DiscreteParameterMixin::validate(value);
    }
};

TEST(ADiscreteParameter, NeedsNoNumber) {
    Preset preset;
    EXPECT_TRUE(preset.set("sharp"));
    EXPECT_FALSE(preset.set("blurred"));
    EXPECT_EQ(preset.get(), "sharp");
    EXPECT_EQ(preset.range(), "soft,sharp");
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
