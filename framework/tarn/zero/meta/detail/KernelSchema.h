#pragma once

#include "tarn/zero/Fwd.h"

namespace tarn::zero::meta::detail {

/// Creates and registers the schema that all others depend on, in the open transaction of the registry's model: the
/// root class, the classes of the meta elements, and the built-in types.
void makeKernelSchema(MetaRegistry& registry);
/// Creates the registry, and with it the class of every meta element, unless it exists. No effect while the registry is
/// under construction.
void ensureKernelSchema();
/// Clears the kernel classes of a registry whose construction failed.
void dropKernelSchema() noexcept;

}   // namespace tarn::zero::meta::detail
