// Values of C expressions: the compiler of this file says what they are.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "host/services/expression.h"
#include "tests/support/test_host.h"

namespace {

using host::evaluateExpression;
using host::Evaluation;
using host::EvaluationMode;
using namespace host::evaluation_status;

using uchar = unsigned char;
using Int16 = int16_t;
using UInt64 = uint64_t;
using Bool = bool;
using Float = double;

struct IntegerCase {
  const char* text;
  uint32_t value;
};
struct RealCase {
  const char* text;
  double value;
};

#define INTEGER(...) \
  { #__VA_ARGS__, static_cast < uint32_t>(__VA_ARGS__) }
#define REAL(...) \
  { #__VA_ARGS__, static_cast < double>(__VA_ARGS__) }

// What the compiler would rather not see is what this is about.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wparentheses"
#pragma GCC diagnostic ignored "-Wbool-operation"
#pragma GCC diagnostic ignored "-Wbool-compare"
#pragma GCC diagnostic ignored "-Wint-in-bool-context"
#pragma GCC diagnostic ignored "-Wdiv-by-zero"
#pragma GCC diagnostic ignored "-Wshift-count-overflow"
#pragma GCC diagnostic ignored "-Wextra"

// clang-format off
const IntegerCase kIntegers[] = {
    // Literals.
    INTEGER(0), INTEGER(7), INTEGER(017), INTEGER(0777), INTEGER(0x1F), INTEGER(0XabCD), INTEGER(0b101), INTEGER(0B11),
    INTEGER(1'000'000), INTEGER(0xFF'FF), INTEGER(0b1'0), INTEGER(1'7u), INTEGER(12u), INTEGER(12U), INTEGER(12l),
    INTEGER(12L), INTEGER(12ul), INTEGER(12LU), INTEGER(12ll), INTEGER(12LL), INTEGER(12ull), INTEGER(12LLU),
    INTEGER(12uLL), INTEGER(2147483647), INTEGER(0x7fffffff), INTEGER(0x80000000), INTEGER(0xFFFFFFFF),
    INTEGER(4294967295u), INTEGER(4294967295), INTEGER(037777777777), INTEGER(true), INTEGER(false), INTEGER(00),
    // The type of a literal: the smallest that holds it shows in what follows.
    INTEGER(0x80000000 > -1), INTEGER(2147483648 > -1), INTEGER(020000000000 > -1), INTEGER(-1 < 0xFFFFFFFF),
    INTEGER(-1 < 4294967295), INTEGER(0x7fffffffffffffff > -1), INTEGER(0x8000000000000000 > -1),
    INTEGER(0b10000000000000000000000000000000 > -1), INTEGER(-1 < 1u), INTEGER(-1 < 1ull), INTEGER(-1 < 1ll),
    INTEGER(1u - 2 > 0), INTEGER(0u - 1ll < 0),
    // Signs.
    INTEGER(-1), INTEGER(- -1), INTEGER(+ +1), INTEGER(-+-+5), INTEGER(~0), INTEGER(~0u), INTEGER(~ ~7), INTEGER(!0),
    INTEGER(!5), INTEGER(!!5), INTEGER(-!0), INTEGER(!-1), INTEGER(~-1), INTEGER(-~1), INTEGER(!~-1),
    INTEGER(-2147483648), INTEGER(-2147483647 - 1), INTEGER(-4294967295ll >> 4), INTEGER(-1u), INTEGER(-0x80000000),
    INTEGER(1 - -1), INTEGER(1 + +1), INTEGER(1 - +1), INTEGER(5 - - -3),
    // Arithmetic, and from left to right.
    INTEGER(1 + 2 * 3), INTEGER((1 + 2) * 3), INTEGER(10 - 4 - 3), INTEGER(10 - (4 - 3)), INTEGER(100 / 7 / 2),
    INTEGER(100 / (7 / 2)), INTEGER(100 % 7 * 3), INTEGER(2 * 3 % 4), INTEGER(-7 / 2), INTEGER(7 / -2), INTEGER(-7 % 3),
    INTEGER(7 % -3), INTEGER(-7 / 2u), INTEGER(-7 % 3u), INTEGER(-7ll / 2u), INTEGER(-7 / 2ull >> 31 >> 8), INTEGER(-7 % 10ull),
    INTEGER(3000000000u + 3000000000u), INTEGER(3u - 5), INTEGER(65536u * 65537u), INTEGER(65535 * 65537u),
    INTEGER(3000000000ll * 3 / 9), INTEGER(100000ll * 100000 / 1000000), INTEGER((-9223372036854775807ll - 1) % -1),
    INTEGER(5000000000 - 4999999999), INTEGER(0xFFFFFFFFFFFFFFFF + 2), INTEGER(18446744073709551615u / 4294967297),
    INTEGER(0x12345678 & 0xFFFF), INTEGER(0xE + 1), INTEGER(0xe - 1), INTEGER(2 / 3 * 3),
    // Bits and shifts.
    INTEGER(1 | 2 ^ 3 & 4), INTEGER((1 | 2) ^ 3 & 6), INTEGER(1 ^ 3 | 4), INTEGER(6 & 3 | 8), INTEGER(5 & 6 ^ 7),
    INTEGER(-1 & 0xFFu), INTEGER(-1 ^ 1ll), INTEGER(-16 | 3), INTEGER(1 << 4), INTEGER(1 << 30), INTEGER(1u << 31),
    INTEGER(3u << 31), INTEGER(1ll << 31), INTEGER(1 << 2 << 3), INTEGER(256 >> 2 >> 1), INTEGER(-1 >> 1),
    INTEGER(-256 >> 4), INTEGER(-1 >> 31), INTEGER(0xFFFFFFFF >> 4), INTEGER(-1ll >> 20), INTEGER(-1ull >> 31 >> 1),
    INTEGER(-5 << 2), INTEGER(1 << 3u), INTEGER(1 << 31ull - 28), INTEGER(-1 >> 1u), INTEGER(1 + 2 << 3),
    INTEGER(1 << 2 + 3), INTEGER(1 << 3 - 1 & 12), INTEGER((unsigned char)200 << 1), INTEGER(0x0F << 4 | 0x0F),
    // Comparisons and logic.
    INTEGER(1 < 2), INTEGER(2 <= 2), INTEGER(3 > 4), INTEGER(4 >= 5), INTEGER(1 == 1), INTEGER(1 != 1), INTEGER(1 < 2 == 1),
    INTEGER(3 > 2 > 1), INTEGER(1 == 2 < 3), INTEGER(1 != 2 == 0), INTEGER(7 & 3 == 3), INTEGER(1 | 0 == 0),
    INTEGER(1 && 2), INTEGER(0 && 1), INTEGER(0 || 0), INTEGER(0 || 7), INTEGER(1 || 0 && 0), INTEGER((1 || 0) && 0),
    INTEGER(1 && 0 || 1), INTEGER(0 && 0 || 0), INTEGER(1 + 1 && 1 - 1), INTEGER(-1 > 0u), INTEGER(-1ll > 0u),
    INTEGER(1 | 2 && 4 & 8), INTEGER(2 ^ 2 || 1 < 0), INTEGER(-1 == 4294967295u), INTEGER(-1 == 4294967295),
    INTEGER(1.5 < 2), INTEGER(0.0 || 0.5), INTEGER(!0.0), INTEGER(1e3 == 1000), INTEGER(-0.0 == 0), INTEGER(0.5 && 1),
    // What is not evaluated.
    INTEGER(0 && 1 / 0), INTEGER(1 || 1 % 0), INTEGER(1 ? 2 : 1 / 0), INTEGER(0 ? 1 % 0 : 3), INTEGER(0 && (1 || 1 / 0)),
    INTEGER(1 || (0 && 1 / 0) || 1 / 0), INTEGER(0 ? 1 / 0 : 1 ? 4 : 1 / 0), INTEGER(0 && 2147483647 * 9),
    INTEGER(1 ? 0 ? 1 / 0 : 6 : 7 / 0), INTEGER(1 || 1 << 40),
    // One of two.
    INTEGER(1 ? 2 : 3), INTEGER(0 ? 2 : 3), INTEGER(1 ? 0 ? 1 : 2 : 3), INTEGER(0 ? 1 : 0 ? 2 : 3), INTEGER(1 || 0 ? 4 : 5),
    INTEGER(1 ? 2 : 3 + 4), INTEGER((1 ? 2 : 3) + 4), INTEGER((1 ? -1 : 0u) > 0), INTEGER((1 ? -1 : 0ll) > 0),
    INTEGER((0 ? 0u : -1) / 2), INTEGER((1 ? 'a' : 0ull) - 98 > 0), INTEGER(0.0 ? 1 : 2), INTEGER((1 ? 3 : 2.0) / 2 > 1.4),
    INTEGER(1 ? 1 + 1 == 2 ? 8 : 9 : 10), INTEGER(5 > 4 ? 5 : 4),
    // Characters.
    INTEGER('A'), INTEGER('a' + 1), INTEGER('\n'), INTEGER('\t'), INTEGER('\\'), INTEGER('\''), INTEGER('\"'), INTEGER('"'),
    INTEGER('\?'), INTEGER('\a'), INTEGER('\b'), INTEGER('\f'), INTEGER('\v'), INTEGER('\r'), INTEGER('\0'),
    INTEGER('\7'), INTEGER('\12'), INTEGER('\101'), INTEGER('\377'), INTEGER('\x41'), INTEGER('\xff'), INTEGER('\x7F'),
    INTEGER('ab'), INTEGER('abc'), INTEGER('abcd'), INTEGER('\377\377'), INTEGER('\377abc'), INTEGER('\0a'), INTEGER('\1012'),
    INTEGER('a\n'), INTEGER('\x41z\x42y'), INTEGER('\'\'\'\''), INTEGER('VSTC'), INTEGER('(' + ')'), INTEGER('\xff' > 0),
    INTEGER('a' << 24 | 'b' << 16 | 'c' << 8 | 'd'), INTEGER('+' - '-'),
    // Casts.
    INTEGER((unsigned char)300), INTEGER((char)200), INTEGER((signed char)200), INTEGER((short)40000),
    INTEGER((unsigned short)-1), INTEGER((unsigned)-1 / 2), INTEGER((int)4294967295u), INTEGER((unsigned long long)-1 > 0),
    INTEGER((long long)-1u > 0), INTEGER((long long)-1 < 0u), INTEGER((int unsigned)-1 > 0), INTEGER((short int)65537),
    INTEGER((unsigned short int)70000), INTEGER((long long int)5), INTEGER((signed)-1 / 2), INTEGER((signed int)7),
    INTEGER((long unsigned long)-1 >> 31 >> 30), INTEGER((bool)2), INTEGER((Bool)0.5), INTEGER((int8_t)200),
    INTEGER((uint8_t)-1), INTEGER((int16_t)40000), INTEGER((uint16_t)-2), INTEGER((int32_t)3000000000),
    INTEGER((uint32_t)-1 > 0), INTEGER((int64_t)-1 > 0u), INTEGER((uint64_t)-1 > 0), INTEGER((uchar)257),
    INTEGER((Int16)65535), INTEGER((UInt64)-1 >> 31 >> 31), INTEGER((char)(short)400), INTEGER(-(unsigned char)1),
    INTEGER((unsigned char)255 + 1), INTEGER((unsigned char)~0), INTEGER(~(unsigned char)0), INTEGER((char)1 - 2 < 0u),
    INTEGER((int)2.9), INTEGER((int)-2.9), INTEGER((unsigned char)255.9), INTEGER((long long)1e15 / 1000000),
    INTEGER((int)(1.5 * 2)), INTEGER((int)1.5 * 2), INTEGER((int)(float)16777217), INTEGER((unsigned)(4294967295.0)),
    INTEGER((int)-0.5), INTEGER((long)5), INTEGER((unsigned long)7), INTEGER(- (short)-32768), INTEGER((int)(3)),
    INTEGER((long double)7 / 2 > 3), INTEGER((double)1 / 2 > 0), INTEGER((Float)7 / 2 == 3.5),
    // Sizes.
    INTEGER(sizeof(char)), INTEGER(sizeof(short)), INTEGER(sizeof(int)), INTEGER(sizeof(long long)), INTEGER(sizeof(float)),
    INTEGER(sizeof(double)), INTEGER(sizeof(Int16)), INTEGER(sizeof(uint64_t)), INTEGER(sizeof(unsigned char)),
    INTEGER(-1 < sizeof(int)), INTEGER(sizeof(int) * 2 + 1), INTEGER(~sizeof(int)), INTEGER(sizeof(bool)),
};

const RealCase kReals[] = {
    REAL(1.5), REAL(.5), REAL(1.), REAL(1e3), REAL(1E+3), REAL(2.5e-3), REAL(1.e2), REAL(0x1p4), REAL(0x1.8p-1), REAL(0X.8P+2),
    REAL(0x1'0.4p0), REAL(1'000.5), REAL(1.5f), REAL(0.1f), REAL(1.5L), REAL(1e-400), REAL(0.1), REAL(09.5), REAL(010e1),
    REAL(3.141592653589793238462643383279), REAL(2.2250738585072011e-308), REAL(4.9e-324), REAL(1e-50f), REAL(7),
    REAL(7 / 2), REAL(7 / 2.0), REAL(-1.5), REAL(- -1.5), REAL(+1.5), REAL(1.5 + 2 * 3), REAL(1 / 3.0), REAL(10 - 2.5 - 1),
    REAL(1 ? 2 : 3.5), REAL(0 ? 2 : 3.5), REAL(1.5 > 1), REAL((float)0.1), REAL((float)16777217), REAL((double)1 / 3),
    REAL((int)2.9 + .5), REAL(-1 + 0.5), REAL(4294967295u + 0.5), REAL(-1ll * 1.0), REAL(18446744073709551615u * 1.0),
    REAL(5000000000), REAL(-5000000000), REAL('a' * 0.5), REAL(sizeof(double) * 1.0), REAL(1.0 - 1 || 0.0), REAL(2147483647u + 1),
};
// clang-format on
#pragma GCC diagnostic pop

/// As the text reaches the evaluator when nothing separates its tokens.
std::string withoutBlanks(const std::string& text) {
  std::string joined = text;
  joined.erase(std::remove(joined.begin(), joined.end(), ' '), joined.end());
  return joined;
}

TEST(Expression, HasTheValueThatTheCompilerGives) {
  for (const IntegerCase& known : kIntegers) {
    for (const std::string& text : {std::string(known.text), withoutBlanks(known.text)}) {
      const Evaluation found = evaluateExpression(text, EvaluationMode::Integer);
      EXPECT_TRUE(found.success) << text;
      EXPECT_EQ(found.status, 0U) << text;
      EXPECT_EQ(static_cast<uint32_t>(found.integer), known.value) << text;
      EXPECT_TRUE(found.real == found.integer || found.real == known.value) << text << ": " << found.real;
    }
  }
  for (const RealCase& known : kReals) {
    for (const std::string& text : {std::string(known.text), withoutBlanks(known.text)}) {
      const Evaluation found = evaluateExpression(text, EvaluationMode::Real);
      EXPECT_TRUE(found.success) << text;
      EXPECT_EQ(found.real, known.value) << text;
      const double whole = std::trunc(known.value);
      const bool fits = whole >= -2147483648.0 && whole <= 4294967295.0;
      EXPECT_EQ(found.integer, fits ? static_cast<int32_t>(static_cast<int64_t>(whole)) : 0) << text;
    }
  }
}

TEST(Expression, TakesWhatIsOnlyOursAsDecided) {
  const IntegerCase cases[] = {
      {"'A", 65},
      {"'\\'", 39},
      {"'ab", 24930},
      {"'\\e'", 27},
      {"1+'A", 66},
      {"5--3", 8},
      {"1++1", 2},
      {"0xE+1", 15},
      {"\t( 1\r\n+ 2 ) ", 3},
      {"(longunsignedint)-1 > 0", 1},
      {"(size_t)-1 == 4294967295", 1},
      {"(unsigned long)-1 == 4294967295", 1},
      {"(intptr_t)4294967295 == -1", 1},
      {"(Int)-1 < 0", 1},
      {"(UInt)-1 > 0", 1},
      {"(__u16)-1", 65535},
      {"(__s64)-1 < 0u", 1},
      {"(longdouble)7/2 > 3", 1},
      {"( unsigned\tchar ) 300", 44},
      {"2147483647l + 1", 2147483648},
      {"4294967295L - 4294967294L", 1},
      {"2147483647 + 1", 2147483648},
      {"2147483647 + 2 < 0", 1},
      {"2147483647 * 2", 4294967294},
      {"1 << 31", 2147483648},
      {"-(-2147483647 - 1)", 2147483648},
      {"(-2147483647 - 1) / -1", 2147483648},
      {"(-2147483647 - 1) % -1", 0},
      {"9223372036854775808 / 9223372036854775807 ", 1},
  };
  for (const IntegerCase& known : cases) {
    const Evaluation found = evaluateExpression(known.text, EvaluationMode::Integer);
    EXPECT_EQ(found.status, 0U) << known.text;
    EXPECT_EQ(static_cast<uint32_t>(found.integer), known.value) << known.text;
  }
}

TEST(Expression, SaysWhyThereIsNoValue) {
  struct Failure {
    uint32_t status;
    std::vector<std::string> texts;
  };
  // clang-format off
  const Failure failures[] = {
      {kSyntax, {"", " ", "()", "(", ")", "(1", "1)", "1 2", "1,2", "1=1", "1+=1", "1<<=1", "+", "1+", "*1",
        "1?2", "1?2:", "1:2", "?1:2", "1?:2", "08", "0x", "0b", "0b2", "0b12", "1lul", "1lL", "1uu", "1x",
        "1f", "0x1.8", "0x.p1", "1e", "1e+", "1.5x", "1..2", "1.2.3", ".", "1'", "1''2", "''", "'",
        "'abcde'", "'\\", "'\\q'", "'\\x'", "'\\xg'", "'\\x1ff'", "'\\400'", "'a\n'", "\"a\"", "\"a\"+",
        "(int)", "(int)*1", "1.5", "1.0 + 1", "1 % 2.0", "1 << 2.0", "~1.0", "1.0 & 1", "0 && 1 % 2.0",
        "1 || (", "0 && 1 +", "1 ? 2 : 1.5", "$", "\\", "{1}", "#", "(double)1", "1 !", "!", "0b1.0",
        "1 <> 2"}},
      {kName, {"x", "L\"a\"", "x(1)", "1 + FOO", "(0x100000000 | FOO)", "(FOO)", "(FOO)1", "FOO BAR", "0 && FOO", "(unsignedFOO)1",
        "(charint)1", "(signedunsigned)1", "(longlonglong)1", "(shortlong)1", "(shortshort)1",
        "sizeof(long)", "sizeof(size_t)", "sizeof(PIX)", "sizeof(longdouble)", "sizeof(char*)", "sizeof",
        "sizeof 1", "(char*)0", "L'a'", "True", "\xC3\xA9", "(int)x", "(intx)1"}},
      {kArithmetic, {"1/0", "1%0", "1u/0", "1ll%0", "1ull/0", "(int)(1.0/0)", "1<<32", "1<<-1", "1>>32",
        "1ll<<32", "1>>-1ll", "(int)3e9", "(unsigned)-1.0", "(uint8_t)256.0", "(long long)1e19",
        "1 + 1/0 * 2", "1e400 > 1", "1e300 * 1e300 > 1", "(float)1e300 > 1", "1e39f > 1", "0 ? 1 : 1/0",
        "0 || 1/0", "2147483647 * 4 / 0"}},
      {kDepth, {std::string(300, '(') + "1" + std::string(300, ')'), std::string(300, '-') + "1"}},
      {kSyntax | kArithmetic, {"1/0 +", "(1 << 99) (", "1e400"}},
      {kName | kArithmetic, {"1/0 + FOO"}},
  };
  // clang-format on
  for (const Failure& failure : failures) {
    for (const std::string& text : failure.texts) {
      const Evaluation found = evaluateExpression(text, EvaluationMode::Integer);
      EXPECT_FALSE(found.success) << text;
      EXPECT_EQ(found.status, failure.status) << text;
      EXPECT_EQ(found.integer, 0) << text;
    }
  }
  EXPECT_EQ(evaluateExpression("1e400", EvaluationMode::Real).status, kArithmetic);
  EXPECT_EQ(evaluateExpression("1/0.0", EvaluationMode::Real).status, kArithmetic);
  EXPECT_EQ(evaluateExpression("1e200*1e200", EvaluationMode::Real).status, kArithmetic);
}

TEST(Expression, KeepsTheLowBitsOfWhatDoesNotFit) {
  const IntegerCase cases[] = {
      {"4294967296", 0},
      {"4294967295 + 1", 0},
      {"-2147483649", 2147483647},
      {"2147483647 * 4", 4294967292},
      {"3 << 31", 2147483648},
      {"(-2147483647 - 1) * 2", 0},
      {"(2147483647 * 4) * 0", 0},
      {"0x1ffffffff", 4294967295},
      {"18446744073709551616", 0},
      {"99999999999999999999", 1661992959},
      {"0x10000000000000001 - 1", 0},
      {"9223372036854775807 + 2", 1},
      {"(-9223372036854775807 - 1) / -1", 0},
      {"-(-9223372036854775807 - 1) + 5 > 0", 0},
      {"6148914691236517205ll << 2 & 255", 84},
      {"1 ? 4294967297 : 0", 1},
  };
  for (const IntegerCase& known : cases) {
    const Evaluation found = evaluateExpression(known.text, EvaluationMode::Integer);
    EXPECT_FALSE(found.success) << known.text;
    EXPECT_EQ(found.status, kWrapped) << known.text;
    EXPECT_EQ(static_cast<uint32_t>(found.integer), known.value) << known.text;
  }
  EXPECT_TRUE(evaluateExpression("4294967296", EvaluationMode::Real).success);
}

TEST(Expression, TakesLinearTimeAndBoundedStack) {
  const auto repeated = [](const std::string& unit, size_t times) {
    std::string text;
    for (size_t i = 0; i < times; ++i) text += unit;
    return text;
  };
  constexpr size_t kMany = 1'000'000;
  const auto status = [](const std::string& text) {
    return evaluateExpression(text, EvaluationMode::Integer).status;
  };
  EXPECT_EQ(evaluateExpression(repeated("1+", kMany) + "1", EvaluationMode::Integer).integer, 1'000'001);
  EXPECT_EQ(status(repeated("0||", kMany) + "1"), 0U);
  EXPECT_EQ(status(repeated("0?1:", 250) + "1"), 0U);
  for (const char* unit : {"(", "-", "(int)", "1?", "1?1:", "1*(", "0&&("}) {
    EXPECT_EQ(status(repeated(unit, kMany)), kDepth) << unit;
  }
  EXPECT_EQ(status(repeated("9", kMany)), kWrapped);
  EXPECT_EQ(status(repeated("int", kMany)), kName);
  EXPECT_EQ(status("(" + repeated("( ", 200) + repeated("unsigned ", kMany)), kName);
  EXPECT_EQ(status("0." + repeated("9", kMany) + ">1"), 0U);
  // As deep as an expression may be, each level with every operator: the deepest that the stack gets.
  const std::string level = "0||1&&1|1^1&1==1<1<<1+1*(";
  EXPECT_EQ(status(repeated(level, 256) + "1" + std::string(256, ')')), 0U);
}

TEST(Expression, CrossesTheContract) {
  test::TestHost running;
  const HostTextTable& text = *host::hostTables().text;
  HostEvaluation found{};
  EXPECT_TRUE(text.EvaluateExpression("-2.5", HOST_EVALUATE_REAL, &found));
  EXPECT_EQ(found.real, -2.5);
  EXPECT_EQ(found.integer, -2);
  EXPECT_FALSE(text.EvaluateExpression("4294967297", HOST_EVALUATE_INTEGER, &found));
  EXPECT_EQ(found.status, HOST_EVALUATION_WRAPPED);
  EXPECT_EQ(found.integer, 1);
}

}  // namespace
