#pragma once

#include "workbench/Arguments.h"
#include "workbench/Document.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace workbench {

/// A session to replay, and its title in the output.
struct Material {
    std::string title;
    Recording recording;
};

/// Replays a session on contexts of its own, with the comparisons and the output that the arguments request.
/// `width` is that of the terminal, if there is one. Returns how many differences the comparisons found.
/// Throws `std::runtime_error` when the output cannot be written.
std::size_t replay(Arguments const& arguments, std::vector<Expression> const& expressions, Material const& material,
                   std::optional<std::size_t> width);

}   // namespace workbench
