"""A docstring that cannot be read alone is found at its place, with the reason; all others pass."""
import os
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "scripts"))
import check_docs  # noqa: E402

FRAGMENT = "it begins like a fragment, with "
NEIGHBOUR = "it begins with "
CASES = [
    # source                                                  line and reason, "" when it is fine
    ("/// Returns the name.\nint a();",                       ""),
    ("/// The symbol.\n/// the second line is free\nint a;",  ""),
    ("int a;   ///< only what is in memory",                  ""),
    ("/// *Throws* `E` if dead.\n",                           ""),
    ("/// Otherness, andirons, orders, itself.\n",            ""),
    ("/// Whereas this one is fine.\n",                       ""),
    ("//// also no docstring\n// and no docstring",           ""),
    ("char const* url = \"file:///else\";",                   ""),
    ("/// The same, without a callback.\n",                   f'1: {NEIGHBOUR}"The same"'),
    ("int a;\n    /// Takes that back.\n",                    f'2: {NEIGHBOUR}"Takes that back"'),
    ("/// Where it is.\n",                                    f'1: {NEIGHBOUR}"Where"'),
    ("/// Else null.\n",                                      f'1: {NEIGHBOUR}"Else"'),
    ("/// Also notifies.\n",                                  f'1: {NEIGHBOUR}"Also"'),
    ("/// likewise\n",                                        f'1: {NEIGHBOUR}"likewise"'),
    ("/// See above.\n",                                      f'1: {NEIGHBOUR}"See above"'),
    ("/// As the base says.\n",                               f'1: {NEIGHBOUR}"As the base says"'),
    ("int a;   ///< And the other.",                          f'1: {NEIGHBOUR}"And"'),
    ("/// Fine.\nint a;\n/// its owner\nint b;",              f'3: {NEIGHBOUR}"its"'),
    ("int a;   ///< first\n/// Or null.\nint b;",             f'2: {NEIGHBOUR}"Or"'),
    ("/// the owner\n",                                       f'1: {FRAGMENT}"the"'),
    ("///\n/// The owner.\n",                                 "1: its first line is empty"),
]

failed = 0
for source, expected in CASES:
    found = [f"{number}: {check_docs.fault_of(*rest).removesuffix(' and so depends on its neighbour')}"
             for number, *rest in check_docs.docstrings(source) if check_docs.fault_of(*rest)]
    if found != ([expected] if expected else []):
        failed += 1
        print(f"{source!r}\n  expected {expected}\n  found    {found}")
sys.exit(1 if failed else 0)
