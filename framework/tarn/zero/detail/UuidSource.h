#pragma once

#include <boost/uuid/uuid.hpp>

#include <cstdint>

namespace tarn::zero::detail {

/// A fresh random UUID (version 4, RFC 4122), from a generator of this thread that is seeded by the system once.
/// *Cost*: two steps of a Mersenne twister; no system call.
boost::uuids::uuid freshUuid();

/// Makes this thread's identities repeat from run to run, for reproducible tests.
void seedUuids(std::uint64_t seed);

}   // namespace tarn::zero::detail
