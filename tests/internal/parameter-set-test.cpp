// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Parameters by identifier: who owns them, and what an unknown identifier gives. One thread.

#include "lumiq/internal/parameter-set.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lumiq/internal/number-parameters.h"
#include "lumiq/internal/read-only-parameter.h"

namespace Nerio::Lumiq::Internal {
namespace {

constexpr unsigned int highest = 0xFFFFFFFFU;

class AParameterSet : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(parameters.registerParameter(5, brightness));
        ASSERT_TRUE(parameters.registerParameter(highest, version));
        ASSERT_TRUE(parameters.registerParameter(0, nullptr));
    }

    ParameterSet parameters;
    IntParameter* brightness = new IntParameter(0, 255, 100);
    ReadOnlyParameter* version = new ReadOnlyParameter("1.0");
};

TEST_F(AParameterSet, FindsWhatWasRegistered) {
    EXPECT_EQ(parameters.find(5), brightness);
    EXPECT_EQ(parameters.find(highest), version);
    EXPECT_EQ(parameters.find(4), nullptr);
}

TEST_F(AParameterSet, PassesQuestionsAndChangesOn) {
    EXPECT_EQ(parameters.range(5), "0-255");
    EXPECT_EQ(parameters.get(5), "100");
    EXPECT_TRUE(parameters.set(5, "0x20"));
    EXPECT_EQ(parameters.get(5), "0x20");
    EXPECT_EQ(brightness->value(), 32);
    EXPECT_FALSE(parameters.set(5, "256"));
    EXPECT_EQ(parameters.get(5), "0x20");
    EXPECT_EQ(parameters.range(highest), "-");
}

TEST_F(AParameterSet, HasNothingToSayOfAnUnknownIdentifierOrOneWithoutAParameter) {
    for (const unsigned int id : {4U, 0U}) {
        EXPECT_EQ(parameters.find(id), nullptr);
        EXPECT_EQ(parameters.range(id), "");
        EXPECT_EQ(parameters.get(id), "");
        EXPECT_FALSE(parameters.set(id, "1"));
        EXPECT_FALSE(parameters.change(id, "1"));
    }
}

TEST_F(AParameterSet, KeepsTheEarlierOfTwoWithTheSameIdentifier) {
    const auto second = std::make_unique<IntParameter>(0, 1, 1);
    EXPECT_FALSE(parameters.registerParameter(5, second.get()));
    EXPECT_EQ(parameters.find(5), brightness);
    EXPECT_EQ(parameters.range(5), "0-255");
    EXPECT_FALSE(parameters.registerParameter(5, nullptr));
    EXPECT_EQ(parameters.find(5), brightness);
    // An identifier without a parameter is taken, too.
    EXPECT_FALSE(parameters.registerParameter(0, second.get()));
    EXPECT_EQ(parameters.find(0), nullptr);
}

TEST_F(AParameterSet, RegistersAllOfAMapThatAreFree) {
    const std::map<unsigned int, Parameter*> free = {{1, new Parameter("one")},
                                                     {2, new Parameter("two")}};
    EXPECT_TRUE(parameters.registerParameters(free));
    const auto refused = std::make_unique<Parameter>("not five");
    const std::map<unsigned int, Parameter*> mixed = {{5, refused.get()},
                                                      {6, new Parameter("six")}};
    EXPECT_FALSE(parameters.registerParameters(mixed));
    EXPECT_TRUE(parameters.registerParameters({}));
    EXPECT_EQ(parameters.get(1) + parameters.get(2) + parameters.get(6), "onetwosix");
    EXPECT_EQ(parameters.get(5), "100");
}

TEST_F(AParameterSet, ChangesOnlyReadOnlyParametersAndThoseWithoutACheck) {
    EXPECT_FALSE(parameters.change(5, "7"));
    EXPECT_EQ(parameters.get(5), "100");
    EXPECT_EQ(brightness->value(), 100);

    EXPECT_FALSE(parameters.set(highest, "2.0"));
    EXPECT_EQ(parameters.get(highest), "1.0");
    for (const std::string& text : {std::string("2.0"), std::string(), std::string("a\0b", 3)}) {
        EXPECT_TRUE(parameters.change(highest, text));
        EXPECT_EQ(parameters.get(highest), text);
    }
}

// Allows nothing and would store something else.
class Stubborn : public ReadOnlyParameter {
public:
    using ReadOnlyParameter::ReadOnlyParameter;
    bool validate(const std::string& /*value*/) override { return false; }
    std::string adjust(const std::string& /*value*/) override { return "adjusted"; }
    void assign(const std::string& /*text*/) override { Parameter::assign("assigned"); }
};

TEST_F(AParameterSet, ChangesTheTextItselfWhateverADerivedClassMakesOfIt) {
    ASSERT_TRUE(parameters.registerParameter(7, new Stubborn("before")));
    EXPECT_TRUE(parameters.change(7, "after"));
    EXPECT_EQ(parameters.get(7), "after");
}

// Says when it is deleted.
class Mortal : public Parameter {
public:
    Mortal(std::string name, std::vector<std::string>& deaths)
        : Parameter(std::move(name)), m_deaths(deaths) {}
    ~Mortal() override { m_deaths.push_back(Parameter::get()); }

private:
    std::vector<std::string>& m_deaths;
};

TEST(TheParametersOfASet, AreDeletedWithItInTheOrderOfTheirIdentifiers) {
    std::vector<std::string> deaths;
    Mortal refused("refused", deaths);
    {
        ParameterSet parameters;
        for (const unsigned int id : {300U, 7U, highest, 0U}) {
            ASSERT_TRUE(parameters.registerParameter(id, new Mortal(std::to_string(id), deaths)));
        }
        ASSERT_TRUE(parameters.registerParameter(8, nullptr));
        ASSERT_FALSE(parameters.registerParameter(7, &refused));
        EXPECT_TRUE(deaths.empty());
    }
    EXPECT_EQ(deaths, (std::vector<std::string>{"0", "7", "300", "4294967295"}));
}

TEST(AnEmptySet, HasNothing) {
    ParameterSet parameters;
    EXPECT_EQ(parameters.find(0), nullptr);
    EXPECT_EQ(parameters.range(0), "");
    EXPECT_FALSE(parameters.set(0, ""));
}

}  // namespace
}  // namespace Nerio::Lumiq::Internal
