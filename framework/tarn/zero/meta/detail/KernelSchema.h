#pragma once

#include "tarn/zero/Fwd.h"

namespace tarn::zero::meta::detail {

/// Makes the schema that all others stand on, in the open transaction of the registry's model, and registers it: the
/// root of all classes, the classes of the meta elements themselves, and the built-in types.
void makeKernelSchema(MetaRegistry& registry);
/// Forgets the kernel classes of a registry that could not be made.
void dropKernelSchema() noexcept;

}   // namespace tarn::zero::meta::detail
