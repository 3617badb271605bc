#pragma once

#include <boost/uuid/uuid.hpp>

#include <cstdint>

namespace tarn::zero::detail {

/// A random UUID (version 4, RFC 4122), from a generator per thread that is seeded by the system once. *Cost*: two
/// steps of a Mersenne twister; no system call.
boost::uuids::uuid freshUuid();

/// Seeds this thread's generator, for reproducible tests.
void seedUuids(std::uint64_t seed);

}   // namespace tarn::zero::detail
