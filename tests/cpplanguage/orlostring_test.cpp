#include "cpplanguage/orlostring.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace {

using ORLO::String;

TEST(OrloString, FormatReplacesTheContentWithoutALengthLimit) {
    String s("old content");
    EXPECT_EQ(&s.Format("%s\t%d|%i\n", "name", 42, -7), &s);
    EXPECT_EQ(s, "name\t42|-7\n");

    const std::string big(100000, 'q');
    s.Format("<%s>", big.c_str());
    EXPECT_EQ(s.size(), big.size() + 2);
    EXPECT_EQ(s.front(), '<');
    EXPECT_EQ(s.back(), '>');

    // The source of the format may be the string itself.
    s = "abc";
    s.Format("%s%s", s.c_str(), s.c_str());
    EXPECT_EQ(s, "abcabc");

    s.Format("%s", "");
    EXPECT_TRUE(s.empty());
}

TEST(OrloString, CutsAtEitherEndAndClampsOutOfRangeCounts) {
    const String s("abcdef");
    EXPECT_EQ(s.left(2), "ab");
    EXPECT_EQ(s.left(0), "");
    EXPECT_EQ(s.left(-3), "");
    EXPECT_EQ(s.left(99), "abcdef");
    EXPECT_EQ(s.right(2), "ef");
    EXPECT_EQ(s.right(6), "abcdef");
    EXPECT_EQ(s.right(99), "abcdef");
    EXPECT_EQ(s.right(0), "");
    EXPECT_EQ(s.subString(4), "ef");
    EXPECT_EQ(s.subString(0), "abcdef");
    EXPECT_EQ(s.subString(6), "");
    EXPECT_EQ(s.subString(60), "");
}

TEST(OrloString, ReverseFindAnswersTheLastIndexOrNegative) {
    EXPECT_EQ(String("a/b/c").reverseFind('/'), 3);
    EXPECT_EQ(String("/").reverseFind('/'), 0);
    EXPECT_LT(String("abc").reverseFind('/'), 0);
    EXPECT_LT(String().reverseFind('/'), 0);
}

TEST(OrloString, TrimsInPlace) {
    String path("dir///");
    EXPECT_EQ(&path.trimRight('/'), &path);
    EXPECT_EQ(path, "dir");
    EXPECT_EQ(String("////").trimRight('/'), "");
    EXPECT_EQ(String("a/b").trimRight('/'), "a/b");

    String padded(" \t\n value  with inside \r\n");
    EXPECT_EQ(&padded.trim(" \t\r\n"), &padded);
    EXPECT_EQ(padded, "value  with inside");
    EXPECT_EQ(String(" \t ").trim(" \t"), "");
    EXPECT_EQ(String("xx").trim(""), "xx");
}

TEST(OrloString, TokenizeWalksTokensAndEndsWithAnEmptyOne) {
    const String s(";;one; two;;three;");
    int position = 0;
    std::vector<std::string> tokens;
    for (String token = s.Tokenize("; ", position); !token.empty();
         token = s.Tokenize("; ", position))
        tokens.push_back(token);
    EXPECT_EQ(tokens, (std::vector<std::string>{"one", "two", "three"}));
    // Past the end it keeps answering empty.
    EXPECT_EQ(s.Tokenize("; ", position), "");

    int start = 0;
    EXPECT_EQ(String("single").Tokenize(",", start), "single");
    EXPECT_EQ(String("single").Tokenize(",", start), "");
    int fromEmpty = 0;
    EXPECT_EQ(String().Tokenize(",", fromEmpty), "");
    int onlyDelimiters = 0;
    EXPECT_EQ(String(",,,").Tokenize(",", onlyDelimiters), "");
    // The last character alone is still a token; at the length itself there is none.
    int last = 2;
    EXPECT_EQ(String("a;b").Tokenize(";", last), "b");
    EXPECT_EQ(last, 3);
    EXPECT_EQ(String("a;b").Tokenize(";", last), "");
    EXPECT_EQ(last, 3);
}

TEST(OrloString, ReplaceMakesOnePassWithoutRescanning) {
    String grow("aXa");
    EXPECT_EQ(&grow.replace("a", "aa"), &grow);
    EXPECT_EQ(grow, "aaXaa");

    // The replacement contains the pattern again: a rescanning loop would never end.
    String s("%1 and %1");
    int count = -1;
    s.replace("%1", String("<%1>"), count);
    EXPECT_EQ(s, "<%1> and <%1>");
    EXPECT_EQ(count, 2);

    // Matches do not overlap and are taken from the left.
    EXPECT_EQ(String("aaaa").replace(String("aa"), String("b")), "bb");
    EXPECT_EQ(String("aaa").replace("aa", String("b")), "ba");
    EXPECT_EQ(String("a--b--c").replace("--", ""), "abc");

    // Nothing to find, or nothing to look for: no change, and a count of none.
    for (const char* nothing : {"x", "", static_cast<const char*>(nullptr)}) {
        String none("abc");
        int zero = -1;
        none.replace(nothing, String("y"), zero);
        EXPECT_EQ(none, "abc");
        EXPECT_EQ(zero, 0);
    }
}

TEST(OrloString, BehavesAsAByteStringAndMixesWithStandardStrings) {
    EXPECT_EQ(String('-', 3), "---");
    EXPECT_EQ(String('-', -2), "");
    EXPECT_EQ(String(static_cast<const char*>(nullptr)), "");
    EXPECT_TRUE(String::nil().empty());

    String s = "ab";
    s += String("c");
    s += "d";
    s += 'e';
    EXPECT_EQ("x" + s + 'y' + String("z"), "xabcdeyz");
    const std::string standard("cd");
    EXPECT_EQ(String("ab") + standard, "abcd");
    EXPECT_EQ(String("ab") + std::string("ef") + "g", "abefg");
    EXPECT_EQ(standard + String("ab"), "cdab");

    // Bytewise order: upper case sorts before lower case.
    std::map<String, int> ordered{{"b", 1}, {"B", 2}, {"a", 3}};
    EXPECT_EQ(ordered.begin()->first, "B");
    EXPECT_TRUE(String("abc") < String("abd"));
    EXPECT_FALSE(String("abc") < String("abc"));
}

} // namespace
