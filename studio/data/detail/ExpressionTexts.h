#pragma once

#include "tarn/zero/services/Hashers.h"

#include <boost/unordered/unordered_flat_set.hpp>

#include <memory>
#include <string>
#include <string_view>

namespace studio::data::detail {

/// Set of an engine's objects keyed by their `text`, which is not stored a second time. `Pointer` owns one object.
template <class Pointer>
class ExpressionTexts {
    struct Hash {
        using is_transparent = void;
        using is_avalanching = void;   // for the table: all bits of the hash are well mixed
        std::size_t operator()(std::string_view text) const noexcept
        {
            return tarn::zero::services::hashers::TARN0Hasher<std::string_view>{}(text);
        }
        std::size_t operator()(Pointer const& object) const noexcept { return (*this)(object->text); }
    };
    struct Equal {
        using is_transparent = void;
        static std::string_view textOf(std::string_view text) noexcept { return text; }
        static std::string_view textOf(Pointer const& object) noexcept { return object->text; }
        template <class Left, class Right>
        bool operator()(Left const& left, Right const& right) const noexcept
        {
            return textOf(left) == textOf(right);
        }
    };
    using Table = boost::unordered_flat_set<Pointer, Hash, Equal>;

public:
    auto* find(std::string_view text) const noexcept
    {
        auto const found = table.find(text);
        return found == table.end() ? nullptr : &**found;
    }
    /// Adds an object. *Throws* `std::bad_alloc`; the object is destroyed then.
    auto& insert(Pointer object) { return **table.insert(std::move(object)).first; }
    /// Removes the object of that text and returns it for the caller to release; null if there is none.
    Pointer extract(std::string_view text) noexcept
    {
        auto const found = table.find(text);
        if (found == table.end())
            return Pointer{};
        Pointer object = std::move(const_cast<Pointer&>(*found));   // its key lies behind the pointer
        table.erase(found);
        return object;
    }

    void clear() noexcept { table.clear(); }
    std::size_t size() const noexcept { return table.size(); }
    bool empty() const noexcept { return table.empty(); }
    auto begin() const noexcept { return table.begin(); }
    auto end() const noexcept { return table.end(); }

private:
    Table table;
};

}   // namespace studio::data::detail
