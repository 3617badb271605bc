#pragma once

#include "foundation/core/except/Exception.h"

#include <exception>

namespace tarn::zero {

/// *Throws* `foundation::core::except::Exception<Msg, std::exception>` carrying `message`.
template <class Msg>
[[noreturn]] void reportException(Msg const& message)
{
    throw foundation::core::except::Exception<Msg, std::exception>{message};
}

}   // namespace tarn::zero
