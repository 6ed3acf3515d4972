// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using namespace kvx;

TEST(PlainText, WritesNumbersWithoutTrailingZeros) {
    EXPECT_EQ(FormatNumber(0.000605), "0.000605");
    EXPECT_EQ(FormatNumber(1.25e-7), "1.25e-07");
    EXPECT_EQ(FormatNumber(2.0 / 3.0, 3), "0.667");
    EXPECT_EQ(FormatNumber(0.1, 99), "0.10000000000000001");
    EXPECT_EQ(FormatExact(0.1), "0.1");
    EXPECT_EQ(HexCode(0x20011), "0x20011");
    EXPECT_EQ(HexCode(0x10004, 8), "0x00010004");
    EXPECT_EQ(Count(1, "channel") + ", " + Count(0, "line"), "1 channel, 0 lines");
}

TEST(PlainText, WrapsWordsAndReadsNumbersAndLists) {
    EXPECT_EQ(Wrapped("\na bc\nd\n\nlonger words", 4), "a bc\nd\n\nlonger\nwords");
    EXPECT_EQ(SplitList("a,,b c"), (std::vector<std::string>{"a", "", "b c"}));
    EXPECT_EQ(SplitList("").size(), 1U);
    EXPECT_EQ(ParseNumber("+1.5e3"), 1500.0);
    EXPECT_EQ(ParseNumber("-.5"), -0.5);
    for (const char* text : {"", " 1", "1 ", "1,5", "0x10", "1e999", "--1", "a"})
        EXPECT_EQ(ParseNumber(text), std::nullopt) << text;
}

TEST(PlainText, CutsLongNamesInTheMiddleAndKeepsThemToTheirLine) {
    const std::string folders(70, 'd'), file(80, 'f');
    EXPECT_EQ(Quote("a\nb\x7F\xFF\u009B\u202Eü"), "'a\\x0Ab\\x7F\\xFF\\xC2\\x9B\\xE2\\x80\\xAEü'");
    EXPECT_EQ(Quote(L"加\n"), "'加\\x0A'");
    EXPECT_EQ(Quote(std::string(60, 'a')), "'" + std::string(60, 'a') + "'");
    EXPECT_EQ(Quote("/" + folders + "/shaker.csv"),
              "'/" + std::string(25, 'd') + "..." + std::string(19, 'd') + "/shaker.csv'");
    EXPECT_EQ(Quote("/" + folders + "/" + file), "'/" + std::string(25, 'd') + ".../" + file + "'");
    EXPECT_EQ(Quote(std::string(25, 'a') + "\u00FC" + folders + "\u00FC" + std::string(29, 'b')),
              "'" + std::string(25, 'a') + "...ü" + std::string(29, 'b') + "'");
    EXPECT_LT(Quote("/" + std::string(100'000, 'x')).size(), 70U);
}

TEST(DidYouMean, SuggestsTheNearestNames) {
    EXPECT_EQ(DidYouMean("hol", {"hold", "zeros"}), " (did you mean 'hold'?)");
    EXPECT_EQ(DidYouMean("HOLD", {"zeros", "hold"}), " (did you mean 'hold'?)");
    EXPECT_EQ(DidYouMean("m/s", {"mm/s", "m/s2", "kg"}), " (did you mean 'm/s2' or 'mm/s'?)");
    EXPECT_EQ(DidYouMean("gs", {"GA", "kg", "g"}), " (did you mean 'g' or 'GA'?)");
    EXPECT_EQ(DidYouMean("periodic", {"hold", "zeros"}), "");
    EXPECT_EQ(DidYouMean("pds", {"psd", "xfr"}), " (did you mean 'psd'?)");
    EXPECT_EQ(DidYouMean("iofn", {"info", "import"}), " (did you mean 'info'?)");
}

}  // namespace
