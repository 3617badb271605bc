#pragma once

#include "gel/detail/Instructions.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace gel::detail {

/// Token kinds: the four classes, then every sign and reserved word in the order of the operator table.
enum class Sign : std::uint8_t {
    End,
    Number,
    String,
    Name,
    Identical,
    Equal,
    Matches,
    NotIdentical,
    NotEqual,
    Not,
    LessOrEqual,
    Less,
    GreaterOrEqual,
    Greater,
    And,
    Or,
    Coalesce,
    Question,
    Plus,
    Minus,
    Times,
    Over,
    Modulo,
    Colon,
    OpenParenthesis,
    CloseParenthesis,
    OpenBracket,
    CloseBracket,
    Comma,
    True,
    False,
    Undefined,
    Null,
    In,
    NotWord
};

/// Precedence of binary operators, loosest first. NONE: not a binary operator.
enum Binding : std::uint8_t { NONE, CHOICE, DISJUNCTION, CONJUNCTION, COMPARISON, COALESCING, SUM, PRODUCT };

/// One row of the table.
struct Operator {
    Sign sign;
    std::string_view spelling;
    Binding binds = NONE;
    Binding right = NONE;   // the right operand takes operators that bind tighter than this
    Operation operation = Operation::Constant;
};

/// Spelling, precedence and operation of every sign and reserved word. Rows with the same first character are adjacent,
/// the longer spelling first; `right` below `binds` makes an operator right-associative.
inline constexpr std::array OPERATORS{
    Operator{Sign::End, ""},
    Operator{Sign::Number, ""},
    Operator{Sign::String, ""},
    Operator{Sign::Name, ""},
    Operator{Sign::Identical, "===", COMPARISON, COMPARISON, Operation::Equal},
    Operator{Sign::Equal, "==", COMPARISON, COMPARISON, Operation::Equal},
    Operator{Sign::Matches, "=~", COMPARISON, COMPARISON, Operation::Match},
    Operator{Sign::NotIdentical, "!==", COMPARISON, COMPARISON, Operation::NotEqual},
    Operator{Sign::NotEqual, "!=", COMPARISON, COMPARISON, Operation::NotEqual},
    Operator{Sign::Not, "!"},
    Operator{Sign::LessOrEqual, "<=", COMPARISON, COMPARISON, Operation::LessOrEqual},
    Operator{Sign::Less, "<", COMPARISON, COMPARISON, Operation::Less},
    Operator{Sign::GreaterOrEqual, ">=", COMPARISON, COMPARISON, Operation::GreaterOrEqual},
    Operator{Sign::Greater, ">", COMPARISON, COMPARISON, Operation::Greater},
    Operator{Sign::And, "&&", CONJUNCTION, CONJUNCTION, Operation::SkipIfFalse},
    Operator{Sign::Or, "||", DISJUNCTION, DISJUNCTION, Operation::SkipIfTrue},
    Operator{Sign::Coalesce, "??", COALESCING, COMPARISON, Operation::SkipIfDefined},
    Operator{Sign::Question, "?", CHOICE, CHOICE, Operation::Choose},
    Operator{Sign::Plus, "+", SUM, SUM, Operation::Add},
    Operator{Sign::Minus, "-", SUM, SUM, Operation::Subtract},
    Operator{Sign::Times, "*", PRODUCT, PRODUCT, Operation::Multiply},
    Operator{Sign::Over, "/", PRODUCT, PRODUCT, Operation::Divide},
    Operator{Sign::Modulo, "%", PRODUCT, PRODUCT, Operation::Remainder},
    Operator{Sign::Colon, ":"},
    Operator{Sign::OpenParenthesis, "("},
    Operator{Sign::CloseParenthesis, ")"},
    Operator{Sign::OpenBracket, "["},
    Operator{Sign::CloseBracket, "]"},
    Operator{Sign::Comma, ","},
    Operator{Sign::True, "true"},
    Operator{Sign::False, "false"},
    Operator{Sign::Undefined, "undefined"},
    Operator{Sign::Null, "null"},
    Operator{Sign::In, "in", COMPARISON, COMPARISON, Operation::SkipIfItem},
    Operator{Sign::NotWord, "not", COMPARISON, COMPARISON, Operation::SkipIfItem},
};

/// The row of a sign.
constexpr Operator const& rowOf(Sign sign) noexcept
{
    return OPERATORS[static_cast<std::size_t>(sign)];
}

/// The longest sign at the start of a text; null if there is none. Words are not signs.
Operator const* signAt(std::string_view text) noexcept;

/// The reserved word with that spelling; null if it is none.
Operator const* reservedWord(std::string_view name) noexcept;

}   // namespace gel::detail
