// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// How frame rates compare. The expected answers are worked out by hand. One thread.

#include "lumiq/fraction.h"

#include <gtest/gtest.h>

#include <ostream>

namespace Nerio::Lumiq {
namespace {

using Rate = Fraction<unsigned int>;

struct Comparison {
    Rate left;
    Rate right;
    bool less;
    bool greater;
};

std::ostream& operator<<(std::ostream& stream, const Comparison& each) {
    return stream << each.left.numerator << "/" << each.left.denominator << " against "
                  << each.right.numerator << "/" << each.right.denominator;
}

class TwoFrameRates : public testing::TestWithParam<Comparison> {};

TEST_P(TwoFrameRates, CompareAsTheContractSays) {
    const Comparison& each = GetParam();
    EXPECT_EQ(each.left < each.right, each.less) << each;
    EXPECT_EQ(each.left > each.right, each.greater) << each;
}

constexpr unsigned int highest = 4294967295U;

INSTANTIATE_TEST_SUITE_P(OrdinaryRates, TwoFrameRates,
                         testing::Values(Comparison{{15, 1}, {30, 1}, true, false},
                                         Comparison{{30, 1}, {15, 1}, false, true},
                                         Comparison{{30, 1}, {30, 1}, false, false},
                                         Comparison{{60, 2}, {30, 1}, false, false},
                                         Comparison{{30000, 1001}, {30, 1}, true, false},
                                         Comparison{{30, 1}, {30000, 1001}, false, true},
                                         Comparison{{1, 3}, {1, 2}, true, false},
                                         Comparison{{15, 2}, {7, 1}, false, true}));

// With the products in 64 bits each of these would come out the other way.
INSTANTIATE_TEST_SUITE_P(RatesWhoseProductsLeave32Bits, TwoFrameRates,
                         testing::Values(
                             // 65536 * 65536 wraps to 0, which is less than 1 * 1.
                             Comparison{{65536, 1}, {1, 65536}, true, false},
                             // The same from the right: 1 * 1 against 0.
                             Comparison{{1, 65536}, {65536, 1}, false, true},
                             // 2147483649 * 2 wraps to 2, which is less than 3.
                             Comparison{{2147483649U, 1}, {3, 2}, true, false},
                             // 65537 * 65537 wraps to 131073.
                             Comparison{{65537, 1}, {131075, 65537}, true, false}));

// Unreduced, some of these products would wrap.
INSTANTIATE_TEST_SUITE_P(
    RatesThatOnlyFitWhenReduced, TwoFrameRates,
    testing::Values(Comparison{{3000000000U, 100000000U}, {30, 1}, false, false},
                    Comparison{{3000000000U, 100000000U}, {2900000000U, 100000000U}, false, true},
                    Comparison{{1000000000U, 333667U * 100U}, {30, 1}, true, false},
                    Comparison{{highest, highest}, {2, 1}, true, false},
                    Comparison{{0, highest}, {highest, highest}, true, false}));

INSTANTIATE_TEST_SUITE_P(
    RatesWithAZero, TwoFrameRates,
    testing::Values(
        // Nothing is less than a right side with a zero on top; everything but zero is greater.
        Comparison{{0, 1}, {0, 1}, false, false}, Comparison{{0, 7}, {0, 1}, false, false},
        Comparison{{1, 1}, {0, 1}, false, true}, Comparison{{1, 1000}, {0, 5}, false, true},
        Comparison{{1, 1}, {0, 0}, false, true}, Comparison{{0, 0}, {0, 0}, false, false},
        Comparison{{5, 0}, {0, 1}, false, true}, Comparison{{5, 0}, {0, 0}, false, true},
        // A zero on the left counts as 0/1, whatever is below it.
        Comparison{{0, 1}, {1, 30}, true, false}, Comparison{{0, 0}, {1, 30}, true, false},
        Comparison{{0, highest}, {1, highest}, true, false},
        // A zero below counts as 1/0.
        Comparison{{30, 1}, {5, 0}, true, false}, Comparison{{5, 0}, {30, 1}, false, true},
        Comparison{{5, 0}, {7, 0}, false, false}, Comparison{{0, 1}, {7, 0}, true, false}));

TEST(AFraction, IsNotSetAtFirst) {
    const Rate rate;
    EXPECT_EQ(rate.numerator, 0U);
    EXPECT_EQ(rate.denominator, 1U);
}

TEST(AFraction, StaysAsItWasGivenWhenCopied) {
    const Rate rate{60, 2};
    const Rate copy = rate;  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.numerator, 60U);
    EXPECT_EQ(copy.denominator, 2U);
}

TEST(AReducedFraction, IsInLowestTerms) {
    const auto expectReduced = [](Rate given, Rate expected) {
        const Rate result = reduced(given);
        EXPECT_EQ(result.numerator, expected.numerator);
        EXPECT_EQ(result.denominator, expected.denominator);
    };
    expectReduced({60, 2}, {30, 1});
    expectReduced({30000, 1001}, {30000, 1001});
    expectReduced({0, 25}, {0, 1});
    expectReduced({25, 0}, {1, 0});
    expectReduced({0, 0}, {0, 1});
    expectReduced({highest, highest}, {1, 1});
}

}  // namespace
}  // namespace Nerio::Lumiq
