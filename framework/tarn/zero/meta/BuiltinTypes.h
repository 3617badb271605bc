#pragma once

#include "foundation/Export.h"
#include "tarn/zero/Fwd.h"

namespace tarn::zero::meta {

/// Makes and registers the primitive types that every schema may use, inside the package `owner`, in the open
/// transaction of the registry's model: "StdString" (`std::string`), "Boolean" (`bool`) and "Model" (`Model`).
STUDIO_DATA_EXPORT void registerBuiltinTypes(MetaRegistry& registry, Package const& owner);

}   // namespace tarn::zero::meta
