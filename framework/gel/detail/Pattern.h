#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

struct pcre2_real_code_8;
struct pcre2_real_match_data_8;

namespace gel::detail {

/// Why a pattern was refused, and the byte offset in the pattern.
struct PatternFault {
    std::string reason;
    std::size_t offset = 0;
};

/// A compiled regular expression that tests for a match anywhere. Thread-safe.
class Pattern {
public:
    /// Compiles `pattern` with `flags` out of "ims"; returns null and fills `fault` if it is refused.
    static std::unique_ptr<Pattern const> compile(std::string_view pattern, std::string_view flags,
                                                  PatternFault& fault);

    ~Pattern();
    Pattern(Pattern const&) = delete;
    Pattern& operator=(Pattern const&) = delete;

    /// True if the pattern matches somewhere in `subject`. An invalid UTF-8 byte matches nothing; a match that exceeds
    /// a limit counts as none.
    /// *Cost*: no allocation, unless two threads match the same pattern at once or the JIT compiler cannot run it.
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
    mutable std::atomic<Block*> m_spareBlock = nullptr;   // working memory of a match; null while one is running
};

}   // namespace gel::detail
