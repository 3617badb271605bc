#pragma once

#include "foundation/Export.h"
#include "tarn/zero/Fwd.h"

namespace tarn::zero::meta {

/// Creates and registers the primitive types available to every schema, in the package `owner` and the open transaction
/// of the registry's model: "StdString" (`std::string`), "Boolean" (`bool`) and "Model" (`Model`).
STUDIO_DATA_EXPORT void registerBuiltinTypes(MetaRegistry& registry, Package const& owner);

}   // namespace tarn::zero::meta
