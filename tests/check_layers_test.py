"""One small tree per rule: each violation is found at its place, and what is allowed stays silent."""
import os
import sys
import tempfile

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "scripts"))
import check_layers  # noqa: E402

CASES = [
    # who                                    includes                           rule that is broken, "" when it is fine
    ("framework/tarn/zero/Model.h",          '"gel/Value.h"',                   ""),
    ("framework/gel/Eval.h",                 '"tarn/zero/Model.h"',             "gel (level 1) must not know zero (level 2)"),
    ("framework/tarn/zero/Model.cpp",        '"studio/data/PropertyValue.h"',   "zero (level 2) must not know values (level 3)"),
    ("framework/gel/Eval.cpp",               '"rook/Wrappable.h"',              "gel (level 1) must not know rook (level 1)"),
    ("framework/tarn/zero/Model.h",          '"tarn/zero/meta/Type.h"',         "zero (level 2) must not know meta (level 2.2)"),
    ("framework/tarn/zero/Model.h",          '"tarn/zero/meta/Fwd.h"',          ""),
    ("framework/tarn/zero/Model.cpp",        '"tarn/zero/meta/Type.h"',         ""),
    ("framework/tarn/zero/Model.cpp",        '"tarn/zero/meta/Package.h"',      "zero (level 2) must not know meta (level 2.2)"),
    ("framework/tarn/zero/meta/Type.h",      '"tarn/zero/Model.h"',             ""),
    ("framework/tarn/zero/meta/Type.cpp",    '"tarn/zero/detail/Journal.h"',    "private to framework/tarn/zero/"),
    ("framework/tarn/zero/Model.h",          '"tarn/zero/detail/Journal.h"',    "an installed header must not name a private one"),
    ("framework/tarn/zero/Model.cpp",        '"tarn/zero/detail/Journal.h"',    ""),
    ("framework/tarn/zero/detail/Other.h",   '"tarn/zero/detail/Journal.h"',    ""),
    ("framework/tarn/zero/detail/Other.h",   '"tarn/zero/meta/Type.h"',         ""),
    ("studio/data/ContextView.cpp",          '"studio/data/ExpressionEngine.h"', "view (level 6) must not know engine (level 6)"),
    ("studio/data/ExpressionEngine.h",       '"studio/data/Expression.h"',      "an installed header must not name a private one"),
    ("studio/data/ExpressionEngine.cpp",     '"studio/data/Expression.h"',      ""),
    ("studio/data/Surprise.cpp",             '"gel/Value.h"',                   "studio/data/Surprise.cpp has no room in layers.txt"),
    ("workbench/main.cpp",                   '"studio/data/Expression.h"',      "private to studio/data/"),
    ("tests/studio/data/EngineTest.cpp",     '"studio/data/Expression.h"',      ""),
    ("studio/data/PropertyValue.h",          '<nlohmann/json.hpp>',             "an installed header must not name it"),
    ("studio/data/PropertyValue.cpp",        '<nlohmann/json.hpp>',             ""),
    ("framework/gel/Eval.cpp",               '<pcre2.h>',                       "only framework/gel/detail/ may name it"),
    ("framework/gel/Eval.cpp",               '"pcre2.h"',                       "names no file of the tree; other libraries' headers stand in <>"),
]
TARGETS = ["framework/gel/Value.h", "framework/rook/Wrappable.h", "framework/tarn/zero/Model.h",
           "framework/tarn/zero/meta/Type.h", "framework/tarn/zero/meta/Package.h", "framework/tarn/zero/meta/Fwd.h", "framework/tarn/zero/detail/Journal.h",
           "studio/data/PropertyValue.h", "studio/data/ExpressionEngine.h", "studio/data/Expression.h"]


def write(root, path, text):
    os.makedirs(os.path.dirname(os.path.join(root, path)), exist_ok=True)
    with open(os.path.join(root, path), "w", encoding="utf-8") as file:
        file.write(text)


failed = 0
for who, includes, rule in CASES:
    with tempfile.TemporaryDirectory() as tree:
        for target in TARGETS:
            write(tree, target, "")
        write(tree, who, f"\n#  include {includes}\n")
        expected = [f"{who}:2: {includes[1:-1]}: {rule}"] if rule else []
        found = check_layers.check(tree)
        if found != expected:
            failed += 1
            print(f"{who} includes {includes}\n  expected {expected}\n  found    {found}")
sys.exit(1 if failed else 0)
