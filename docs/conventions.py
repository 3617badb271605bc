#!/usr/bin/env python3
"""Prints a header as doxygen should read it: with a sentence at each member that its name alone explains.

A member that has its own docstring keeps it. What is neither documented nor covered by a convention below makes the
build of the documentation fail, so a convention names one shape of member, and says what all of them promise.
"""
import re
import sys

ELEMENTS = r"framework/tarn/zero/|studio/data/model/"
STATE = r"framework/tarn/zero/(features/|collections/)"

# Where, what the declaration looks like, and what it promises; the first that fits.
CONVENTIONS = [

    # What every class has
    ("", r"using (\w+(<.*>)?::)+(?P<name>\w+)(<.*>)?::?(?P=name)?;|using \w+::\w+;", "What the base class has."),
    ("", r"(?!operator)\w+\(\w+(<.*>)? const&\)( noexcept)? = delete;", "Not copied."),
    ("", r"\w+& operator=\(\w+(<.*>)? const&\)( noexcept)? = delete;", "Not assigned."),
    ("", r"(?P<name>\w+)\((?P=name)(<.*>)? const&( other)?\)", "A copy."),
    ("", r"(?P<name>\w+)\((?P=name)(<.*>)?&&( other)?\)", "Takes what the other one has, and leaves it empty."),
    ("", r"\w+& operator=\(\w+(<.*>)? const&( other)?\)", "Becomes a copy."),
    ("", r"Counted& operator=\(Counted other\)", "Becomes a copy, also of itself."),
    ("", r"\w+& operator=\(\w+(<.*>)?&&( other)?\)", "Takes what the other one has."),
    ("", r"(virtual )?~\w+\(\)", "Ends it; lets nothing out."),
    ("", r"(explicit )?operator bool\(\)", "True unless it is empty."),
    ("", r"(?!void)[\w:]+& operator\*\(\)", "What it holds or refers to; not to be asked of an empty one."),
    ("", r"(?!void)[\w:]+\* operator->\(\)", "The same, to reach its members; null for a null handle."),
    ("", r"T\* get\(\)|Impl\* get\(\)", "The object itself, borrowed and uncounted; null for a null handle."),
    ("", r"friend bool operator<\(", "A lasting order, for tables."),
    ("", r"friend (constexpr )?bool operator==",
     "True for the same content; of handles and references, for the same object."),

    # Handles and elements
    (ELEMENTS, r"\w+\(\)( noexcept)? = default;", "An empty one; of a handle, null."),
    (ELEMENTS, r"explicit \w+\(Impl\* impl\) noexcept;", "A handle that shares the element; null makes a null one."),
    (ELEMENTS, r"static (tarn::zero::meta::|meta::)?Class metaClass\(\);", "The meta class of these elements."),
    (ELEMENTS, r"static \w+ create\(Model const& model, ",
     "A new element of this class in `model`; a nil UUID asks for a fresh one."),
    (ELEMENTS, r"static (tarn::zero::)?ModelElement::Impl\* classImpl\(\)",
     "The meta class, borrowed; null while it is not registered."),
    (ELEMENTS, r"static (tarn::zero::)?meta::Property propertyAt\(",
     "The meta property of that index; null if the class has none."),
    (ELEMENTS, r"static constexpr auto features\(\)",
     "What a transaction remembers of these elements, by meta index, and when a remembered value counts as "
     "unchanged."),
    (ELEMENTS, r"static constexpr unsigned long [A-Z_]+ = \d+;", "The meta index of the property of this name."),
    (ELEMENTS, r"Impl\((tarn::zero::)?Model const& model, boost",
     "An element of `model`, not yet entered into it; a nil UUID asks for a fresh one."),
    (ELEMENTS, r"Impl\((tarn::zero::)?(ModelElement::)?Builder& builder, boost", "The same, in the builder's model."),
    (ELEMENTS, r"using Handle = ", "The handle class of these elements."),
    (ELEMENTS, r"void set(Is)?[A-Z]\w*\([^,]*\)(;| \{ assign\()", "Changes what the getter of the same name answers."),
    (ELEMENTS, r".*& get\w+Mutable\(\)", "The same, to be changed; every change is announced and may be rolled back."),
    (ELEMENTS, r"bool has[A-Z]\w*\(\) const", "True unless what the getter of the same name answers is empty."),

    # Collections, and what a transaction remembers of a property
    (ELEMENTS, r"(typename )?[\w:]+ (begin|end)\(\) const", "The range of the elements, in their order."),
    (ELEMENTS, r"std::size_t size\(\) const", "How many there are."),
    (ELEMENTS, r"(virtual )?bool (empty|genericEmpty)\(\) const", "True if there is none."),
    (ELEMENTS, r"using (value_type|const_iterator|iterator_category|difference_type|pointer|reference) =",
     "As of every standard range."),
    (STATE, r"using (typename Base::)?Old(;| =)", "What a transaction remembers."),
    (STATE, r"using Kept =", "What is left of that for who keeps a report."),
    (STATE, r"using Type =", "The type of the field."),
    (STATE, r"static constexpr unsigned long index = ", "The meta index of the property."),
    (STATE, r"static constexpr bool is(Collection|Container) =", "What kind of feature it is."),
    (STATE, r"(static )?void record\(", "Keeps what is there now, before it changes."),
    (STATE, r"static void merge\(", "An inner level ends well: the outer one takes over what it has not remembered."),
    (STATE, r"static Kept(?: const&)? keep\(|static Nothing keep\(",
     "What a kept report needs of the remembered state."),
    (STATE, r"(static )?bool unchanged\(", "True if the present state counts as the remembered one, by the rule."),
    (STATE, r"(static )?void undoInsertions\(", "Roll back, first pass: takes out what must not stand in the way."),
    (STATE, r"(static )?void restore\(", "Roll back, second pass: what was remembered holds again."),
    (STATE, r"(static )?void undoErasures\(", "Roll back, third pass: puts back what is ordered by restored keys."),
    (STATE, r"static void discard\(", "Lets go of what was remembered, and may keep its memory for the next time."),
    (STATE, r"(static )?void drop(All)?\(", "Lets go of all other elements: the element's death is final."),
    (STATE, r"static Value oldValue\(", "The remembered value in a box."),
    (STATE, r"static Value value\(", "The present value in a box; of a collection, a reference to it."),
    (STATE, r"static bool has\(", "True unless the value is empty."),
    (STATE, r"static bool set\(", "Writes the value by its setter; false if there is none."),
    (STATE, r"static Type& of\(", "The collection."),
    (STATE, r"std::size_t sizeBefore\(", "How many there were."),
    (STATE, r"(virtual )?void generic\w+\(", "The change of the same name, of a value in a box."),

    # Reports
    ("framework/tarn/zero/ListenerHolder", r"(void|char const\*) (validate|modify|transaction)\w+\(",
     "As the base says."),
    ("", r".*\boverride\b", "What the base class promises, for this class."),
]
CONVENTIONS = [(re.compile(where), re.compile(shape), sentence) for where, shape, sentence in CONVENTIONS]
ATTRIBUTES = re.compile(r"^(STUDIO_DATA_EXPORT |\[\[\w+\]\] |inline |constexpr )+")
NAME = re.compile(r"([\w~]+)\(")


def sentence_for(path, declaration, previous):
    """What a declaration promises, or None; `previous` is the documented one directly above, or None."""
    declaration = ATTRIBUTES.sub("", declaration)
    name = NAME.search(declaration)
    if previous and name:
        above = NAME.search(previous)
        if above and above.group(1) == name.group(1):
            return "The same, of other arguments."
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
            print("/** @cond */ ", end="")   # doxygen knows no std; what these do is standard
            hidden = True
        print(line + (" /** @endcond */" if hidden and line == "};" else ""))
        hidden = hidden and line != "};"


if __name__ == "__main__":
    main(sys.argv[1])
