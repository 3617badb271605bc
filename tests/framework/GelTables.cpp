#include "GelTables.h"

#include <limits>

namespace gel::test {

namespace {

constexpr Cell U;
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double INF = std::numeric_limits<double>::infinity();

// clang-format off
constexpr Row LITERALS[]{
    {"1", {}, 1}, {"2.50", {}, 2.5}, {"6.02e23", {}, 6.02e23}, {"'it\\'s'", {}, "it's"},
    {"\"tab\\there\"", {}, "tab\there"}, {"'\\u{e9}' == 'é'", {}, true}, {"true", {}, true}, {"undefined", {}, U},
    {"a", {{"a", 1}}, 1}, {"a", {}, U}, {"git.branch", {{"git.branch", "main"}}, "main"},
    {"items.0.name", {{"items.0.name", "x"}}, "x"}, {"`odd-name`", {{"odd-name", 7}}, 7},
    {"git.`active-state`", {{"git.active-state", true}}, true}, {"`a``b`", {{"a`b", 1}}, 1},
    {"größe + 1", {{"größe", 2}}, 3}, {"config.in", {{"config.in", 3}}, 3}, {"a-b", {{"a", 5}, {"b", 3}}, 2},
    {"1 + 2 * 3", {}, 7}, {"(1 + 2) * 3", {}, 9}, {"7 % 3", {}, 1}, {"-7 % 3", {}, -1}, {"7.5 % 2", {}, 1.5},
    {"10 / 4", {}, 2.5}, {"2 - 3 - 4", {}, -5}, {"-a", {{"a", 4}}, -4}, {"--a", {{"a", 4}}, 4}, {"0 * -1", {}, 0},
    {"0.1 + 0.2", {}, 0.30000000000000004}, {"0.1 + 0.2 == 0.3", {}, false}, {"True", {{"True", 1}}, 1},
    {"notin + $_1 + 名前", {{"notin", 1}, {"$_1", 2}, {"名前", 3}}, 6}, {"`true` ?? `a.b`", {{"a.b", 2}}, 2},
    {"'\\u{1F600}\\\\\\\"' + \"'\\r\"", {}, "😀\\\"'\r"}, {"'\xFF' == s", {{"s", "\xFF"}}, true},
    {"1e-400 + 0e999999", {}, 0}, {"5e-324 > 0 && 1.7976931348623157e308 > 1e308", {}, true},
    {"0.00000000000000000001e319 == 1e299", {}, true},
};

constexpr Row UNDEFINED[]{
    {"a + 1", {}, U}, {"-a", {}, U}, {"a * 0", {}, U}, {"'x' + a", {}, U}, {"1 / 0", {}, U}, {"0 / 0", {}, U},
    {"5 % 0", {}, U}, {"a / b", {{"a", 1}, {"b", 0}}, U}, {"1e308 * 10", {}, U}, {"n", {{"n", NaN}}, U},
    {"n == n", {{"n", NaN}}, true}, {"n ?? 0", {{"n", NaN}}, 0}, {"m", {{"m", INF}}, INF},
    {"zoom < max", {{"zoom", 8}, {"max", INF}}, true}, {"m - m", {{"m", INF}}, U}, {"m * 0", {{"m", INF}}, U},
    {"m / -0", {{"m", INF}}, INF}, {"'max ' + m", {{"m", INF}}, "max Infinity"}, {"a == undefined", {}, true},
    {"a != undefined", {{"a", 0}}, true}, {"defined(a)", {{"a", ""}}, true}, {"defined(a)", {}, false},
    {"a == b", {}, true}, {"a < 5", {}, false}, {"a >= 0", {}, false}, {"!(a < 5)", {}, true}, {"a <= b", {}, false},
    {"m / z", {{"m", INF}, {"z", -0.0}}, INF}, {"m / -(1 - 1)", {{"m", INF}}, INF},
    {"pow(m, -1) + 5 % m", {{"m", INF}}, 5}, {"m % 2", {{"m", INF}}, U}, {"sqrt(-m) ?? floor(-m)", {{"m", INF}}, -INF},
    {"number('Infinity') ?? max(1, number(m))", {{"m", INF}}, INF}, {"text(-m)", {{"m", INF}}, "-Infinity"},
    {"-true", {}, -1}, {"-1e308 - 1e308", {}, U},
};

constexpr Row TRUTH[]{
    {"!a", {}, true}, {"!0", {}, true}, {"!''", {}, true}, {"!'false'", {}, false}, {"!'0'", {}, false},
    {"!!n", {{"n", 3}}, true}, {"a && b", {{"a", 1}, {"b", "x"}}, true}, {"a && b", {{"a", 0}}, false},
    {"a && b", {{"a", "x"}}, false}, {"a || 'none'", {{"a", "x"}}, true}, {"a || 'none'", {}, true},
    {"a || b && c", {{"a", true}, {"b", false}, {"c", false}}, true},
    {"(a || b) && c", {{"a", true}, {"b", false}, {"c", false}}, false}, {"!a && b", {{"a", false}, {"b", true}}, true},
    {"a == !b", {{"a", true}, {"b", false}}, true},
};

constexpr Row EQUALITY[]{
    {"1 == 1.0", {}, true}, {"1 == '1'", {}, false}, {"'1' == 1", {}, false}, {"1 == true", {}, false},
    {"'' == 0", {}, false}, {"'' == false", {}, false}, {"a == ''", {}, false}, {"a == 0", {}, false},
    {"a == false", {}, false}, {"0 == -0", {}, true}, {"'A' == 'a'", {}, false}, {"id === 'x'", {{"id", "x"}}, true},
    {"id !== 'x'", {{"id", "y"}}, true},
    {"child == '0f8fad5b-d9cb-469f-a165-70867728950e'", {{"child", "0f8fad5b-d9cb-469f-a165-70867728950e"}}, true},
};

constexpr Row ORDERING[]{
    {"2 < 10", {}, true}, {"'2' < '10'", {}, false}, {"'2' < 10", {}, false}, {"'b' > 'a'", {}, true},
    {"'Z' < 'a'", {}, true}, {"'a' < 'ab'", {}, true}, {"'é' > 'z'", {}, true},
    {"'\\u{ffff}' < '\\u{10000}'", {}, true}, {"true > false", {}, true}, {"true >= 1", {}, true},
    {"'x' > 1", {}, false}, {"'a' <= undefined", {}, false},
    {"(a > 1) + (b > 1) + (c > 1) >= 2", {{"a", 2}, {"b", 5}, {"c", 0}}, true},
};

constexpr Row TEXT[]{
    {"'Line ' + 3", {}, "Line 3"}, {"3 + ' lines'", {}, "3 lines"}, {"'on: ' + true", {}, "on: true"},
    {"1 + 2 + 'px'", {}, "3px"}, {"'px' + 1 + 2", {}, "px12"}, {"'' + 0.1", {}, "0.1"}, {"'' + 1e21", {}, "1e+21"},
    {"'' + 1e20", {}, "100000000000000000000"}, {"'' + 0.000001", {}, "0.000001"}, {"'' + 1e-7", {}, "1e-7"},
    {"'' + -0", {}, "0"}, {"'' + 123456789012", {}, "123456789012"}, {"'a' - 1", {}, U}, {"'3' * 2", {}, U},
    {"'3' + 2", {}, "32"}, {"number('3') + 2", {}, 5}, {"-'3'", {}, U}, {"true + true", {}, 2},
    {"'a' + 'b' == 'ab'", {}, true}, {"'' + 12345678901234567890", {}, "12345678901234567000"},
    {"'' + 0.0000012345", {}, "0.0000012345"}, {"'' + -1.5e-7", {}, "-1.5e-7"},
    {"'' + 5e-324 + ' ' + 1.7976931348623157e308", {}, "5e-324 1.7976931348623157e+308"},
    {"'' + 123456.75", {}, "123456.75"}, {"s + n + (s + n) + s", {{"s", "é"}, {"n", 1}}, "é1é1é"},
    {"(upper(s + 'b') + lower('C')) + trim(s + ' ')", {{"s", "a"}}, "ABca"},
    {"trim(' ' + s) + 'x' == s + 'x'", {{"s", "a"}}, true},
};

constexpr Row CHOICES[]{
    {"a ?? 'none'", {}, "none"}, {"a ?? 'none'", {{"a", ""}}, ""}, {"a ?? b ?? 3", {}, 3},
    {"count ?? 0 > 3", {{"count", 5}}, true}, {"count ?? 0 > 3", {}, false}, {"count ?? 1 + 1", {}, 2},
    {"a ? 'yes' : 'no'", {{"a", "x"}}, "yes"}, {"a ? 'yes' : 'no'", {}, "no"}, {"a ? 1 : b ? 2 : 3", {{"b", true}}, 2},
    {"a ?? b || c", {{"b", false}, {"c", true}}, true}, {"a == b ?? c", {{"a", 1}, {"c", 1}}, true},
};

constexpr Row MEMBERSHIP[]{
    {"lang in ['c', 'cpp']", {{"lang", "cpp"}}, true}, {"lang in ['c', 'cpp']", {}, false},
    {"lang not in ['c', 'cpp']", {{"lang", "java"}}, true}, {"1 in ['1', true]", {}, false},
    {"x in [a, b + 1]", {{"x", 3}, {"a", 1}, {"b", 2}}, true}, {"x in [undefined]", {}, true},
    {"x in []", {{"x", 1}}, false}, {"file =~ /\\.(c|cpp)$/", {{"file", "main.cpp"}}, true},
    {"file =~ /^MAIN/i", {{"file", "main.cpp"}}, true}, {"file =~ /^main$/", {{"file", "main.cpp"}}, false},
    {"file =~ /undef/", {}, false}, {"n =~ /1/", {{"n", 10}}, false}, {"text(n) =~ /^1/", {{"n", 10}}, true},
    {"item =~ /file\\b(?=.*\\+staged)(?!.*\\+sub)/", {{"item", "file+x+staged"}}, true},
    {"url =~ /^https?:[/]{2}/", {{"url", "http://x"}}, true}, {"(s + 'b') in [s + 'a', s + 'b']", {{"s", "a"}}, true},
    {"n not in []", {}, true}, {"a =~ /[/\\\\]/ && b =~ /\\//", {{"a", "\\"}, {"b", "/"}}, true},
};

constexpr Row PATTERNS[]{
    {"s =~ /^a{2,3}$/", {{"s", "aaa"}}, true}, {"s =~ /^a{2,3}$/", {{"s", "aaaa"}}, false},
    {"s =~ /[^a-c_]/", {{"s", "abc_"}}, false}, {"s =~ /\\bfoo\\b/", {{"s", "a foo.b"}}, true},
    {"s =~ /^.$/", {{"s", "é"}}, true}, {"s =~ /^.$/", {{"s", "😀"}}, true}, {"s =~ /a.b/", {{"s", "a\nb"}}, false},
    {"s =~ /a.b/s", {{"s", "a\nb"}}, true}, {"s =~ /^b/m", {{"s", "a\nb"}}, true},
    {"s =~ /(?<=\\$)\\d+/", {{"s", "cost $42"}}, true}, {"s =~ /(?<!\\$)\\b\\d+/", {{"s", "cost $42"}}, false},
    {"s =~ /^(a+)+$/", {{"s", "aaaaaaaaaaaaaaaaaaaaaa!"}}, false}, {"s =~ /\\u{e9}|\\xe9/", {{"s", "é"}}, true},
    {"s =~ /É/i", {{"s", "é"}}, true}, {"s =~ /^(a)\\1$/", {{"s", "aa"}}, true}, {"s =~ /a$/", {{"s", "a\n"}}, false},
    {"s =~ /\\u0041/", {{"s", "A"}}, true}, {"s =~ /a|/", {{"s", "zzz"}}, true},
    {"s =~ /[]/ || !(s =~ /[^]/)", {{"s", "a"}}, false}, {"s =~ /^(?<x>a)\\k<x>(c)?\\2$/", {{"s", "aa"}}, true},
    {"s =~ /^b$/m && !(s =~ /a.b/)", {{"s", "a\r\nb"}}, true}, {"s =~ /^A.B$/ims", {{"s", "x\na\nb"}}, true},
    {"s =~ /ab/", {{"s", "\xFF" "ab\xC3"}}, true}, {"s =~ /./s", {{"s", "\xFF\xC3\x80\x80"}}, true},
    {"s =~ /./s", {{"s", "\xFF\x80"}}, false}, {"trim(lower(s)) =~ /^b$/", {{"s", " B "}}, true},
};

constexpr Row FUNCTIONS[]{
    {"min(3, 1, 2)", {}, 1}, {"max(a, 0)", {}, U}, {"max(true, 0)", {}, 1}, {"abs(-2.5)", {}, 2.5}, {"abs('2')", {}, U},
    {"floor(-2.5)", {}, -3}, {"ceil(-2.5)", {}, -2}, {"round(2.5)", {}, 3}, {"round(-2.5)", {}, -3},
    {"trunc(-2.5)", {}, -2}, {"sqrt(9)", {}, 3}, {"sqrt(-1)", {}, U}, {"pow(2, 10)", {}, 1024}, {"pow(0, -1)", {}, U},
    {"pow(-8, 1 / 3)", {}, U}, {"length('größe')", {}, 5}, {"length('😀')", {}, 1}, {"length(a)", {}, U},
    {"length(12)", {}, U}, {"lower('ÀBC')", {}, "Àbc"}, {"upper('abc')", {}, "ABC"}, {"trim('  x ')", {}, "x"},
    {"contains(path, '/src/')", {{"path", "/a/src/b"}}, true}, {"contains(path, 'x')", {}, false},
    {"contains(a, '')", {{"a", "x"}}, true}, {"startsWith(name, 'test_')", {{"name", "test_a"}}, true},
    {"endsWith(name, '.md')", {{"name", "a.MD"}}, false}, {"like(name, '*.c?p')", {{"name", "main.cpp"}}, true},
    {"like('a*b', 'a\\\\*b')", {}, true}, {"hasItem('a,b,c', 'b')", {}, true},
    {"hasItem(list, item, '\\n')", {{"list", "x\ny z"}, {"item", "y z"}}, true}, {"hasItem('', '')", {}, false},
    {"number(' 42 ')", {}, 42}, {"number('')", {}, U}, {"number('0x10')", {}, U}, {"number('12px')", {}, U},
    {"number(true)", {}, 1}, {"text(2)", {}, "2"}, {"text(2.5)", {}, "2.5"}, {"text(a)", {}, U},
    {"text(false)", {}, "false"}, {"min", {{"min", 4}}, 4}, {"length(s)", {{"s", "\xFF\x80" "a"}}, 2},
    {"length('') + length(trim(' \\t\\r\\n'))", {}, 0}, {"trim('\u00A0x ')", {}, "\u00A0x"},
    {"contains('', '') && startsWith('a', '') && endsWith('a', '')", {}, true},
    {"contains(1, '1') || startsWith('a', 1) || endsWith('a', 'ba')", {}, false},
    {"like('', '') && like('', '**') && like('é', '?') && like('aéb', 'a*?b')", {}, true},
    {"like('é', '?\?') || like('é', '*?\?') || like('ab', 'a') || like('a', 'ab') || like(1, '*')", {}, false},
    {"like('abcabd', '*a?d') && like('aXbXcX', 'a*X?X')", {}, true},
    {"like('a?', 'a\\\\?') && !like('ab', 'a\\\\?') && like('a\\\\', 'a\\\\')", {}, true},
    {"hasItem('a,,b', '') && hasItem('a,', '') && hasItem('a--b-c', 'b-c', '--')", {}, true},
    {"hasItem('ab', 'ab', '') && !hasItem('ab', 'a', '')", {}, true},
    {"hasItem(1, '1') || hasItem('a', 'a', 1) || hasItem('a,b', 'a,b')", {}, false},
    {"number('\\t-007.50e+1\\n')", {}, -75}, {"number('1e-999')", {}, 0},
    {"number('1e999') ?? number('+ 1') ?? number('-') ?? number('.5') ?? number('1.') ?? number('1e')", {}, U},
    {"round(2.4) + trunc(true) + abs(-true)", {}, 4},
};

constexpr Row LOOKUPS[]{
    {"false && a", {{"a", 1}}, false, ""}, {"a && a && a", {{"a", 1}}, true, "a"},
    {"a || b", {{"a", 1}, {"b", 2}}, true, "a"}, {"a ?? b", {{"b", 2}}, 2, "a b"},
    {"c ? a : b", {{"c", true}, {"a", 1}, {"b", 2}}, 1, "c a"}, {"a in [1, b]", {{"a", 1}, {"b", 2}}, true, "a"},
    {"a * b", {{"b", 2}}, U, "a b"}, {"a == b || a == c", {{"a", 1}, {"b", 2}, {"c", 1}}, true, "a b c"},
    {"`a.b` == a.b", {}, true, "a.b"}, {"a ? b : c", {{"b", 1}}, U, "a c"}, {"false ? a : b", {}, U, "b"},
    {"1 in [1, a] && 2 not in [b, 2, c]", {}, false, "b"}, {"max(b, a, b) ?? a", {}, U, "b a"},
    {"(a || b) && (c ?? (d && e)) || a", {{"b", 1}}, false, "a b c d"},
};

constexpr Refusal REFUSALS[]{
    {"", "1:1", "empty expression"}, {"   ", "1:4", "empty expression"},
    {"a +", "1:4", "expected an operand, found end of text"}, {"* a", "1:1", "expected an operand, found '*'"},
    {"(a", "1:3", "expected ')' to close the '(' at 1:1, found end of text"},
    {"a)", "1:2", "unexpected ')' after the end of the expression"},
    {"a b", "1:3", "unexpected 'b' after the end of the expression; is && or || missing before it?"},
    {"a 'x'", "1:3", "unexpected ''x'' after the end of the expression; is && or || missing before it?"},
    {"a and b", "1:3", "unexpected 'and' after the end of the expression; did you mean '&&'?"},
    {"not a", "1:1", "expected an operand, found 'not'; negation is written !"},
    {"a = 1", "1:3", "unexpected '='; did you mean '=='?"}, {"a & b", "1:3", "unexpected '&'; did you mean '&&'?"},
    {"a | b", "1:3", "unexpected '|'; did you mean '||'?"},
    {"a < b < c", "1:7", "comparisons do not chain; use && or parentheses"},
    {"a == b == c", "1:8", "comparisons do not chain; use && or parentheses"},
    {"!a == b", "1:4", "'!' applies only to what follows it; use parentheses before '=='"},
    {"!a in [1]", "1:4", "'!' applies only to what follows it; use parentheses before 'in'"},
    {"x + !a == b", "1:8", "'!' applies only to what follows it; use parentheses before '=='"},
    {"!a + 1", "1:4", "'!' applies only to what follows it; use parentheses before '+'"},
    {"a in b", "1:6", "expected '[' after 'in', found 'b'"}, {"a not b", "1:7", "expected 'in' after 'not', found 'b'"},
    {"a in [1", "1:8", "expected ']' to close the '[' at 1:6, found end of text"},
    {"a ? b", "1:6", "expected ':' of the '?' at 1:3, found end of text"},
    {"a ? b :", "1:8", "expected an operand, found end of text"}, {"f(a)", "1:1", "unknown function 'f'"},
    {"min()", "1:1", "'min' takes at least 1 argument, not 0"}, {"abs(1, 2)", "1:1", "'abs' takes 1 argument, not 2"},
    {"a.min(1)", "1:6", "only a plain name can be called"},
    {"null", "1:1", "'null' is reserved; the absent value is written undefined"},
    {"in", "1:1", "expected an operand, found 'in'"},
    {"true.x", "1:1", "'true' is reserved; write it in backticks to use it as a name"},
    {"1.", "1:1", "malformed number"}, {".5", "1:1", "unexpected character '.'"}, {"01", "1:1", "malformed number"},
    {"1e", "1:1", "malformed number"}, {"12abc", "1:1", "malformed number"}, {"1e999", "1:1", "number too large"},
    {"'abc", "1:1", "unterminated string"}, {"'a\\qb'", "1:3", "unknown escape; a backslash is written \\\\"},
    {"'a\nb'", "1:1", "unterminated string"}, {"`abc", "1:1", "unterminated name"}, {"``", "1:1", "empty name"},
    {"a.", "1:3", "expected a name after '.'"}, {"a..b", "1:3", "expected a name after '.'"},
    {"a .b", "1:3", "unexpected character '.'"}, {"a. b", "1:3", "expected a name after '.'"},
    {"a =~ b", "1:6", "expected a regular expression /.../ after '=~', found 'b'"},
    {"a =~ /(/", "1:8", "regular expression: missing closing parenthesis"},
    {"a =~ /a/x", "1:9", "unknown flag of a regular expression; only i, m and s are known"},
    {"a =~ /a", "1:6", "unterminated regular expression"}, {"a =~ //", "1:6", "empty regular expression"},
    {"a =~ /[b-a]/", "1:10", "regular expression: range out of order in character class"},
    {"a =~ /a)/", "1:8", "regular expression: unmatched closing parenthesis"},
    {"a =~ /[a/", "1:6", "unterminated regular expression"},
    {"a =~ /((((a){1000}){1000}){1000}){1000}/", "1:40", "regular expression: regular expression is too large"},
    {"a # b", "1:3", "unexpected character '#'"}, {"a == \u201Cx\u201D", "1:6", "unexpected character U+201C"},
    {"a\u00A0== 1", "1:2", "unexpected character U+00A0"}, {"x\n  + * y", "2:5", "expected an operand, found '*'"},
    {"a ?? ", "1:6", "expected an operand, found end of text"},
    {"a != = b", "1:6", "unexpected '='; did you mean '=='?"}, {"a; b", "1:2", "unexpected character ';'"},
    {"a, b", "1:2", "unexpected ',' after the end of the expression"}, {"{}", "1:1", "unexpected character '{'"},
    {"[1]", "1:1", "expected an operand, found '['"}, {"a[0]", "1:2", "unexpected '[' after the end of the expression"},
    {"@a", "1:1", "unexpected character '@'"}, {"a => b", "1:3", "unexpected '='; did you mean '=='?"},
    {"1_000", "1:1", "malformed number"},
    {"'a\x01'", "1:3", "control character U+0001 in a string; write it as an escape"},
    {"`a\x7F`", "1:3", "control character U+007F in a name"},
    {"a =~ /\t/", "1:7", "control character U+0009 in a regular expression"},
    {"a =~ /\\", "1:6", "unterminated regular expression"}, {"'\\u{d800}'", "1:2", "U+D800 is not a Unicode character"},
    {"'\\u{0000041}'", "1:2", "malformed escape; a character is written \\u{H} with one to six hexadecimal digits"},
    {"'\\u{}'", "1:2", "malformed escape; a character is written \\u{H} with one to six hexadecimal digits"},
    {"'\\u0041'", "1:2", "unknown escape; a backslash is written \\\\"}, {"'\\", "1:1", "unterminated string"},
    {"a.``", "1:3", "empty name"}, {"a.`b\n`", "1:3", "unterminated name"}, {"é\xC0\xAF", "1:2", "invalid UTF-8"},
    {"a \xED\xA0\x80", "1:3", "invalid UTF-8"}, {"a\u200B", "1:2", "unexpected character U+200B"},
    {"a \x01", "1:3", "unexpected character U+0001"},
    {"a =~ /a/imi", "1:11", "flag 'i' of a regular expression is given twice"},
    {"`min`(1)", "1:6", "only a plain name can be called"}, {"Min(1)", "1:1", "unknown function 'Min'"},
    {"min(1,)", "1:7", "expected an operand, found ')'"}, {"pow(1)", "1:1", "'pow' takes 2 arguments, not 1"},
    {"1 + hasItem(a)", "1:5", "'hasItem' takes 2 or 3 arguments, not 1"},
    {"(a b)", "1:4", "expected ')' to close the '(' at 1:1, found 'b'"},
    {"a in [1] + 1", "1:10", "unexpected '+' after the end of the expression"},
    {"a =~ /b/ not in []", "1:10", "comparisons do not chain; use && or parentheses"},
    {"a < !b < c", "1:8", "'!' applies only to what follows it; use parentheses before '<'"},
    {"!a not in [1]", "1:4", "'!' applies only to what follows it; use parentheses before 'not'"},
    {"!-a * 2", "1:5", "'!' applies only to what follows it; use parentheses before '*'"},
    {"a && !b ?? c", "1:9", "'!' applies only to what follows it; use parentheses before '?\?'"},
    {"not.x", "1:1", "'not' is reserved; write it in backticks to use it as a name"},
    {"a or b", "1:3", "unexpected 'or' after the end of the expression; did you mean '||'?"},
    {"'é' ==\n 'ß' ü", "2:6", "unexpected 'ü' after the end of the expression; is && or || missing before it?"},
    {"a =~ /é(?z)/", "1:10", "regular expression: unrecognized character after (? or (?-"},
};
// clang-format on

}   // namespace

Value Cell::value() const
{
    return kind == Kind::Text      ? Value(text)
           : kind == Kind::Logical ? Value(number != 0)
           : kind == Kind::Number  ? Value(number)
                                   : Value();
}

std::vector<Table> tables()
{
    return {{"Literals", LITERALS}, {"Undefined", UNDEFINED}, {"Truth", TRUTH},     {"Equality", EQUALITY},
            {"Ordering", ORDERING}, {"Text", TEXT},           {"Choices", CHOICES}, {"Membership", MEMBERSHIP},
            {"Patterns", PATTERNS}, {"Functions", FUNCTIONS}, {"Lookups", LOOKUPS}};
}

std::span<Refusal const> refusals()
{
    return REFUSALS;
}

}   // namespace gel::test
