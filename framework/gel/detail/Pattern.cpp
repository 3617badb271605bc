#include "gel/detail/Pattern.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>
#include <cstdint>
#include <new>

namespace gel::detail {

namespace {

constexpr std::uint32_t MATCH_LIMIT = 100'000;
constexpr std::uint32_t DEPTH_LIMIT = 100'000;
constexpr std::uint32_t HEAP_LIMIT_KIB = 20'000;
constexpr std::uint32_t NESTED_GROUPS = 50;

// The options closest to ECMAScript.
constexpr std::uint32_t OPTIONS = PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | PCRE2_DOLLAR_ENDONLY | PCRE2_ALLOW_EMPTY_CLASS |
                                  PCRE2_MATCH_UNSET_BACKREF | PCRE2_NEVER_BACKSLASH_C;

template <class T>
T* orBadAlloc(T* made)
{
    if (!made)
        throw std::bad_alloc();
    return made;
}

// Both contexts are shared by all threads, immutable and never freed: static destructors may still evaluate.
pcre2_compile_context* rules()
{
    static pcre2_compile_context* const s_rules = [] {
        pcre2_compile_context* const made = orBadAlloc(pcre2_compile_context_create(nullptr));
        pcre2_set_newline(made, PCRE2_NEWLINE_ANYCRLF);
        pcre2_set_parens_nest_limit(made, NESTED_GROUPS);
        pcre2_set_compile_extra_options(made, PCRE2_EXTRA_ALT_BSUX);
        return made;
    }();
    return s_rules;
}

pcre2_match_context* limits()
{
    static pcre2_match_context* const s_limits = [] {
        pcre2_match_context* const made = orBadAlloc(pcre2_match_context_create(nullptr));
        pcre2_set_match_limit(made, MATCH_LIMIT);
        pcre2_set_depth_limit(made, DEPTH_LIMIT);
        pcre2_set_heap_limit(made, HEAP_LIMIT_KIB);
        return made;
    }();
    return s_limits;
}

std::uint32_t optionsOf(std::string_view flags) noexcept
{
    std::uint32_t options = OPTIONS;
    for (char const flag : flags)
        options |= flag == 'i' ? PCRE2_CASELESS : flag == 'm' ? PCRE2_MULTILINE : PCRE2_DOTALL;
    return options;
}

PCRE2_SPTR bytes(std::string_view text) noexcept
{
    return reinterpret_cast<PCRE2_SPTR>(text.data());
}

}   // namespace

std::unique_ptr<Pattern const> Pattern::compile(std::string_view pattern, std::string_view flags, PatternFault& fault)
{
    int error = 0;
    PCRE2_SIZE offset = 0;
    if (Code* const code = pcre2_compile(bytes(pattern), pattern.size(), optionsOf(flags), &error, &offset, rules())) {
        std::unique_ptr<Code, void (*)(Code*)> guard(code, pcre2_code_free);
        std::unique_ptr<Pattern> made(new Pattern(code));
        guard.release();
        made->m_spareBlock = makeBlock().release();
        return made;
    }
    if (error == PCRE2_ERROR_HEAP_FAILED)
        throw std::bad_alloc();

    std::array<PCRE2_UCHAR, 256> message{};
    pcre2_get_error_message(error, message.data(), message.size());
    fault = {reinterpret_cast<char const*>(message.data()), offset};
    return nullptr;
}

Pattern::Pattern(Code* code) noexcept : m_code(code), m_hasJit(pcre2_jit_compile(code, PCRE2_JIT_COMPLETE) == 0) {}

Pattern::~Pattern()
{
    BlockDeleter()(m_spareBlock);
    pcre2_code_free(m_code);
}

bool Pattern::matches(std::string_view subject) const
{
    BlockPtr block(m_spareBlock.exchange(nullptr, std::memory_order_acquire));
    if (!block)
        block = makeBlock();
    auto const run = [&](std::uint32_t options) {
        return pcre2_match(m_code, bytes(subject), subject.size(), 0, options, block.get(), limits());
    };

    int answer = run(0);
    bool interpreted = !m_hasJit;
    if (!interpreted && answer < 0 && answer != PCRE2_ERROR_NOMATCH) {
        answer = run(PCRE2_NO_JIT);   // the JIT's small stack must not decide the result
        interpreted = true;
    }
    // The interpreter leaves its frames in the block, up to the heap limit: too much to keep for each pattern.
    if (!interpreted)
        block.reset(m_spareBlock.exchange(block.release(), std::memory_order_acq_rel));
    return answer >= 0;
}

void Pattern::BlockDeleter::operator()(Block* block) const noexcept
{
    pcre2_match_data_free(block);
}

Pattern::BlockPtr Pattern::makeBlock()
{
    return BlockPtr(orBadAlloc(pcre2_match_data_create(1, nullptr)));   // one pair: captures are not read
}

}   // namespace gel::detail
