#!/usr/bin/env python3
"""Prints a header as doxygen should read it: with a sentence for each member whose name alone explains it.

A member that has its own docstring keeps it. A member that is neither documented nor covered by a convention below
fails the build of the documentation. Each convention therefore describes one shape of declaration and what all members
of that shape promise.
"""
import re
import sys

ELEMENTS = r"framework/tarn/zero/|studio/data/model/"
STATE = r"framework/tarn/zero/(features/|collections/)"

# Path of the header, shape of the declaration, its documentation. The first match counts.
CONVENTIONS = [

    # What every class has
    ("", r"using (\w+(<.*>)?::)+(?P<name>\w+)(<.*>)?::?(?P=name)?;|using \w+::\w+;", "Taken over from the base class."),
    ("", r"(?!operator)\w+\(\w+(<.*>)? const&\)( noexcept)? = delete;",
     "Deleted: objects of this class are not copied."),
    ("", r"\w+& operator=\(\w+(<.*>)? const&\)( noexcept)? = delete;",
     "Deleted: objects of this class are not assigned."),
    ("", r"(?P<name>\w+)\((?P=name)(<.*>)? const&( other)?\)", "Makes a copy."),
    ("", r"(?P<name>\w+)\((?P=name)(<.*>)?&&( other)?\)", "Moves: `other` is empty afterwards."),
    ("", r"\w+& operator=\(\w+(<.*>)? const&( other)?\)", "Assigns a copy."),
    ("", r"Counted& operator=\(Counted other\)", "Assigns a copy. Self-assignment is allowed."),
    ("", r"\w+& operator=\(\w+(<.*>)?&&( other)?\)", "Move-assigns."),
    ("", r"(virtual )?~\w+\(\)", "Destroys the object. Lets no exception out."),
    ("", r"(explicit )?operator bool\(\)", "Returns true unless the object is empty."),
    ("", r"(?!void)[\w:]+& operator\*\(\)",
     "Returns what the object holds or refers to. *Requires* that it is not empty."),
    ("", r"(?!void)[\w:]+\* operator->\(\)",
     "Returns what the object refers to, for access to its members; null for a null handle."),
    ("", r"T\* get\(\)|Impl\* get\(\)", "Returns the object itself, borrowed and uncounted; null for a null handle."),
    ("", r"friend bool operator<\(", "Orders objects for sorted tables; the order of two objects never changes."),
    ("", r"friend (constexpr )?bool operator==",
     "Returns true for equal contents; for handles and references, true for the same object."),

    # Handles and elements
    (ELEMENTS, r"\w+\(\)( noexcept)? = default;", "Makes an empty object; a handle is null."),
    (ELEMENTS, r"explicit \w+\(Impl\* impl\) noexcept;",
     "Makes a handle that shares the element; a null handle for null."),
    (ELEMENTS, r"static (tarn::zero::meta::|meta::)?Class metaClass\(\);", "Returns the meta class of the elements."),
    (ELEMENTS, r"static \w+ create\(Model const& model, ",
     "Creates an element of this class in `model`; a nil UUID requests a random one."),
    (ELEMENTS, r"static (tarn::zero::)?ModelElement::Impl\* classImpl\(\)",
     "Returns the meta class, borrowed; null while it is not registered."),
    (ELEMENTS, r"static (tarn::zero::)?meta::Property propertyAt\(",
     "Returns the meta property of the given index; null if the class has none."),
    (ELEMENTS, r"static constexpr auto features\(\)",
     "Lists the properties by meta index: what a transaction saves, and when a saved value counts as unchanged."),
    (ELEMENTS, r"static constexpr unsigned long [A-Z_]+ = \d+;", "Meta index of the property of this name."),
    (ELEMENTS, r"Impl\((tarn::zero::)?Model const& model, boost",
     "Makes an element of `model` that is not yet entered into it; a nil UUID requests a random one."),
    (ELEMENTS, r"Impl\((tarn::zero::)?(ModelElement::)?Builder& builder, boost",
     "Makes an element of the builder's model that is not yet entered into it; a nil UUID requests a random one."),
    (ELEMENTS, r"using Handle = ", "Handle class of the elements."),
    (ELEMENTS, r"void set(Is)?[A-Z]\w*\([^,]*\)(;| \{ assign\()", "Sets the value that the getter of the same name returns."),
    (ELEMENTS, r".*& get\w+Mutable\(\)",
     "Returns the collection for changes; each change is announced and can be rolled back."),
    (ELEMENTS, r"bool has[A-Z]\w*\(\) const",
     "Returns true unless the value that the getter of the same name returns is empty."),

    # Collections, and what a transaction saves of a property
    (ELEMENTS, r"(typename )?[\w:]+ (begin|end)\(\) const", "Iterates over the elements, in their order."),
    (ELEMENTS, r"std::size_t size\(\) const", "Returns the number of elements."),
    (ELEMENTS, r"(virtual )?bool (empty|genericEmpty)\(\) const", "Returns true if there is no element."),
    (ELEMENTS, r"using (value_type|const_iterator|iterator_category|difference_type|pointer|reference) =",
     "Required of every standard range."),
    (STATE, r"using (typename Base::)?Old(;| =)", "What a transaction saves before the first change."),
    (STATE, r"using Kept =", "The saved value as a kept report stores it."),
    (STATE, r"using Type =", "Type of the field."),
    (STATE, r"static constexpr unsigned long index = ", "Meta index of the property."),
    (STATE, r"static constexpr bool is(Collection|Container) =", "Kind of the feature."),
    (STATE, r"(static )?void record\(", "Saves the present value, before it changes."),
    (STATE, r"static void merge\(",
     "Commit of a savepoint: the outer level takes over the old value if it has saved none."),
    (STATE, r"static Kept(?: const&)? keep\(|static Nothing keep\(",
     "Returns what a kept report needs of the saved value."),
    (STATE, r"(static )?bool unchanged\(", "Returns true if the present value counts as unchanged by the revert rule."),
    (STATE, r"(static )?void undoInsertions\(", "Rollback, first pass: removes what would be in the way of the second."),
    (STATE, r"(static )?void restore\(", "Rollback, second pass: restores the saved value."),
    (STATE, r"(static )?void undoErasures\(", "Rollback, third pass: re-inserts what is ordered by restored keys."),
    (STATE, r"static void discard\(", "Discards the saved value; its memory may be kept for reuse."),
    (STATE, r"(static )?void drop(All)?\(",
     "Drops all references to other elements for good: the element's destruction is final."),
    (STATE, r"static Value oldValue\(", "Returns the saved value as a type-erased `Value`."),
    (STATE, r"static Value value\(",
     "Returns the present value as a type-erased `Value`; of a collection, a reference to it."),
    (STATE, r"static bool has\(", "Returns true unless the value is empty."),
    (STATE, r"static bool set\(", "Sets the value through its setter; returns false if there is none."),
    (STATE, r"static Type& of\(", "Returns the collection."),
    (STATE, r"std::size_t sizeBefore\(", "Returns the number of saved elements."),
    (STATE, r"(virtual )?void generic\w+\(", "Makes the change of the same name with a type-erased `Value`."),

    # Reports
    ("framework/tarn/zero/ListenerHolder", r"(void|char const\*) (validate|modify|transaction)\w+\(",
     "Passes the notification on to the listener, as `Listener` describes."),
    ("", r".*\boverride\b", "Implements the function of the base class for this class."),
]
CONVENTIONS = [(re.compile(where), re.compile(shape), sentence) for where, shape, sentence in CONVENTIONS]
OVERLOAD = "Overload of the documented function of this name, for other arguments."
ATTRIBUTES = re.compile(r"^(STUDIO_DATA_EXPORT |\[\[\w+\]\] |inline |constexpr )+")
NAME = re.compile(r"([\w~]+)\(")


def sentence_for(path, declaration, previous):
    """The documentation of a declaration, or None. `previous` is the documented one directly above it, or None."""
    declaration = ATTRIBUTES.sub("", declaration)
    name = NAME.search(declaration)
    if previous and name:
        above = NAME.search(previous)
        if above and above.group(1) == name.group(1):
            return OVERLOAD
    for where, shape, sentence in CONVENTIONS:
        if where.search(path) and shape.match(declaration):
            return sentence
    return None


def main(path):
    with open(path, encoding="utf-8") as file:
        lines = file.read().split("\n")
    documented = False    # by a docstring directly above
    hidden = False
    previous = None       # the last declaration, while no empty line has come
    for number, line in enumerate(lines):
        text = line.strip()
        if text.startswith("///"):
            documented = True
        elif not text or text.startswith(("//", "#", "}")):
            documented, previous = False, None if not text else previous
        else:
            declaration = text
            if text.startswith("template <") and number + 1 < len(lines):
                declaration = lines[number + 1].strip()
            if not documented:
                sentence = sentence_for(path, declaration, previous)
                if sentence and not lines[number - 1].strip().startswith("template <"):
                    line = line[:len(line) - len(line.lstrip())] + "/** " + sentence + " */ " + text
            documented = text.startswith("template <")
            previous = declaration
        if text == "template <>" and lines[number + 1].startswith("struct std::"):
            print("/** @cond */ ", end="")   # doxygen does not know std; the specialisations do what the standard says
            hidden = True
        print(line + (" /** @endcond */" if hidden and line == "};" else ""))
        hidden = hidden and line != "};"


if __name__ == "__main__":
    main(sys.argv[1])
