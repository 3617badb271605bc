#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

struct pcre2_real_code_8;
struct pcre2_real_match_data_8;

namespace gel::detail {

/// Why a pattern was refused, and the bytes of the pattern before the place.
struct PatternFault {
    std::string reason;
    std::size_t offset = 0;
};

/// A compiled regular expression that answers one question: does it match somewhere?
/// Any number of threads may ask at the same time.
class Pattern {
public:
    /// Compiles `pattern` with `flags` out of "ims"; null, and `fault` filled, when it is refused.
    static std::unique_ptr<Pattern const> compile(std::string_view pattern, std::string_view flags,
                                                  PatternFault& fault);

    ~Pattern();
    Pattern(Pattern const&) = delete;
    Pattern& operator=(Pattern const&) = delete;

    /// Whether the pattern matches somewhere in `subject`. An invalid byte of UTF-8 matches nothing; a match that runs
    /// into one of its limits does not match.
    /// Cost: no allocation, unless two threads match the same pattern at once or the JIT compiler cannot run it.
    bool matches(std::string_view subject) const;

private:
    using Code = pcre2_real_code_8;
    using Block = pcre2_real_match_data_8;

    struct BlockDeleter {
        void operator()(Block* block) const noexcept;
    };
    using BlockPtr = std::unique_ptr<Block, BlockDeleter>;

    explicit Pattern(Code* code) noexcept;
    static BlockPtr makeBlock();

    Code* m_code;
    bool m_hasJit;
    mutable std::atomic<Block*> m_spareBlock = nullptr;   // what a match works in, when none is running
};

}   // namespace gel::detail
