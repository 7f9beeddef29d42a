// What the lexer skips, where tokens begin and end, and that their places are right.

#include "gpc/lexer.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace Vantor::gpc {
namespace {

using K = TokenKind;

std::vector<Token> tokensOf(std::string_view source) {
    std::vector<Token> tokens;
    Lexer lexer(source);
    do
        tokens.push_back(lexer.next());
    while (tokens.back().kind != K::EndOfInput);
    return tokens;
}

/// The kinds and texts in one line: "0:a 15:+".
std::string shapeOf(std::string_view source) {
    std::string shape;
    for (const Token& token : tokensOf(source)) {
        if (token.kind == K::EndOfInput)
            break;
        if (!shape.empty())
            shape += ' ';
        shape += std::to_string(static_cast<unsigned>(token.kind)) + ':' + std::string(token.text);
    }
    return shape;
}

TEST(Lexer, CutsTheSourceIntoKindsAndTexts) {
    using namespace std::string_view_literals;
    struct Case {
        std::string_view source;
        std::string_view shape;
    };
    const Case cases[] = {
        {"a...b", "0:a 0:b"},
        {"x`y", "0:x 0:y"},
        {"a \xC2\xA0 b", "0:a 0:b"},
        {"a\xE3\x80\x80"
         "b",
         "0:a 0:b"},
        {"gr\xC3\xB6\xC3\x9F"
         "e",
         "0:gr\xC3\xB6\xC3\x9F"
         "e"},
        {"_a$1 $", "0:_a$1 0:$"},
        {"\\[1\\]", "8:[ 1:1 9:]"},
        {"\\ [", "49:\\ 8:["},
        {"#@.", "49:# 49:@ 49:."},
        {"a\f\0b"sv, "0:a 49:\f 49:\0 0:b"sv},
        {"0x 0Xfg 0b102 0b", "1:0x 1:0Xf 0:g 1:0b10 1:2 1:0b"},
        {"1.5f .5F 5. 5.f 1..2 .5.5 1e3", "1:1.5f 1:.5F 1:5. 1:5.f 1:1. 1:.2 1:.5 1:.5 1:1 0:e3"},
        {"0x1F.5", "1:0x1F 1:.5"},
        {R"("a\"b" 'x' '\'')", R"(3:"a\"b" 2:'x' 2:'\'')"},
        {"\"a\nb\" c", "3:\"a\nb\" 0:c"},
        {"a \"b c", "0:a 49:\"b c"},
        {"a 'b\\", "0:a 49:'b\\"},
        {"a // b\nc /* d\n*/ e", "0:a 0:c 0:e"},
        {"a /* b */ c /* never closed", "0:a 0:c"},
        {"a /*/ b", "0:a"},
        {"+ ++ += +++", "15:+ 17:++ 38:+= 17:++ 15:+"},
        {"- -- -= * *= / /= % %=", "16:- 18:-- 39:-= 19:* 40:*= 20:/ 41:/= 21:% 42:%="},
        {"> >= >> >>= < <= << <<=", "22:> 24:>= 29:>> 44:>>= 23:< 25:<= 28:<< 43:<<="},
        {"= == ! != ~", "14:= 26:== 36:! 27:!= 37:~"},
        {"& && &= ^ ^^ ^= | || |=", "30:& 33:&& 45:&= 31:^ 34:^^ 46:^= 32:| 35:|| 47:|="},
        {"{}()[],?:;", "4:{ 5:} 6:( 7:) 8:[ 9:] 10:, 11:? 12:: 13:;"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(shapeOf(c.source), c.shape) << c.source;
}

TEST(Lexer, PlacesCountBytesFromOneAndRestartBehindEachLineFeed) {
    const std::string source = "ab /* \xC3\xA4\n */ c\r\n\"x\ny\" d\n\n  e";
    const auto tokens = tokensOf(source);
    struct Place {
        std::uint64_t offset, line, column;
    };
    const Place places[] = {{0, 1, 1}, {13, 2, 5}, {16, 3, 1}, {22, 4, 4}, {27, 6, 3}, {28, 6, 4}};
    ASSERT_EQ(tokens.size(), std::size(places));
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        EXPECT_EQ(tokens[i].offset, places[i].offset) << i;
        EXPECT_EQ(tokens[i].line, places[i].line) << i;
        EXPECT_EQ(tokens[i].column, places[i].column) << i;
    }
}

TEST(Lexer, EndIsAnsweredAgainAndACopyReadsOnFromItsOwnPlace) {
    Lexer lexer("a b");
    lexer.next();
    Lexer copy = lexer;
    EXPECT_EQ(lexer.next().text, "b");
    EXPECT_EQ(copy.next().text, "b");
    EXPECT_EQ(lexer.next().kind, K::EndOfInput);
    const Token again = lexer.next();
    EXPECT_EQ(again.kind, K::EndOfInput);
    EXPECT_TRUE(again.text.empty());
    EXPECT_EQ(again.offset, 3u);
}

TEST(Lexer, RandomBytesAlwaysEndAndTokensNeverOverlap) {
    std::mt19937 random(20240917);
    const std::string_view likely = "\"'/*.\\0xfb<=>&|^ \n`\xC2\xA0\xE3\x80";
    for (int round = 0; round < 2000; ++round) {
        std::string source(random() % 64, '\0');
        for (char& byte : source)
            byte = random() % 2 ? likely[random() % likely.size()] : static_cast<char>(random());
        std::size_t end = 0;
        for (const Token& token : tokensOf(source)) {
            ASSERT_GE(token.offset, end);
            ASSERT_TRUE(token.kind == K::EndOfInput || !token.text.empty());
            ASSERT_EQ(token.text, std::string_view(source).substr(token.offset, token.text.size()));
            end = token.offset + token.text.size();
        }
    }
}

} // namespace
} // namespace Vantor::gpc
