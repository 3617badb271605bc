#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace benchmarks::baseline {

/// Interns texts: gives each a number from 1 on.
class Names {
public:
    /// Returns the number of a text; 0 if it has none.
    std::uint32_t find(std::string_view text) const
    {
        for (std::size_t place = hash(text) & mask();; place = (place + 1) & mask()) {
            std::uint32_t const number = places[place];
            if (number == 0 || texts[number - 1] == text)
                return number;
        }
    }
    std::uint32_t intern(std::string_view text)
    {
        if (std::uint32_t const number = find(text))
            return number;
        texts.emplace_back(text);
        if (texts.size() * 2 <= places.size()) {
            enter(count());
            return count();
        }
        places.assign(places.size() * 2, 0);
        for (std::uint32_t number = 1; number <= count(); ++number)
            enter(number);
        return count();
    }
    std::string const& text(std::uint32_t number) const { return texts[number - 1]; }

private:
    std::uint32_t count() const { return static_cast<std::uint32_t>(texts.size()); }
    std::size_t mask() const { return places.size() - 1; }
    void enter(std::uint32_t number)
    {
        std::size_t place = hash(texts[number - 1]) & mask();
        while (places[place] != 0)
            place = (place + 1) & mask();
        places[place] = number;
    }
    /// Hashes eight bytes at a time, then the rest.
    static std::size_t hash(std::string_view text)
    {
        std::uint64_t sum = text.size() * 0x9FB21C651E98DF25U;
        std::uint64_t word = 0;
        for (; text.size() > sizeof word; text.remove_prefix(sizeof word)) {
            std::memcpy(&word, text.data(), sizeof word);
            sum = mixed(sum ^ word);
        }
        word = 0;
        std::memcpy(&word, text.data(), text.size());
        return mixed(sum ^ word);
    }
    static std::uint64_t mixed(std::uint64_t bits)
    {
        bits *= 0xD6E8FEB86659FD93U;
        return bits ^ (bits >> 32U);
    }

    std::vector<std::string> texts;
    std::vector<std::uint32_t> places = std::vector<std::uint32_t>(64);   // linear probing; holds the numbers
};

}   // namespace benchmarks::baseline
