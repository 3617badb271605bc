#pragma once

#include "foundation/core/except/Exception.h"

#include <exception>

namespace tarn::zero {

/// Never returns. *Throws* `foundation::core::except::Exception<Msg, std::exception>` that carries `message`.
template <class Msg>
[[noreturn]] void reportException(Msg const& message)
{
    throw foundation::core::except::Exception<Msg, std::exception>{message};
}

}   // namespace tarn::zero
