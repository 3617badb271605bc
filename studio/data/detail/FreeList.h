#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace studio::data::detail {

/// Free list of at most `most` objects: keeps those that are no longer used for the next use, so that a steady stream
/// of uses allocates nothing.
template <class T, std::size_t most>
class FreeList {
public:
    /// Returns a kept object; otherwise one made of `arguments`. *Throws* `std::bad_alloc`.
    template <class... Arguments>
    std::unique_ptr<T> take(Arguments&&... arguments)
    {
        kept.reserve(most);   // here, so that `keep` allocates nothing
        if (kept.empty())
            return std::make_unique<T>(std::forward<Arguments>(arguments)...);
        std::unique_ptr<T> taken = std::move(kept.back());
        kept.pop_back();
        return taken;
    }
    /// Keeps an object, or destroys it if there are enough.
    void keep(std::unique_ptr<T> object) noexcept
    {
        if (kept.size() < most && kept.size() < kept.capacity())
            kept.push_back(std::move(object));
    }

private:
    std::vector<std::unique_ptr<T>> kept;
};

}   // namespace studio::data::detail
