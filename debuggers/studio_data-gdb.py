"""Shows the values of studio_data in gdb as a person reads them: property values, UUIDs, element handles, providers.

Installed where gdb loads it with the library; else `source` it. `print/r` shows what lies underneath. A field that is
not there, in a library without debug information or of another version, is left out.
"""
import gdb
import gdb.printing

ELEMENT = "tarn::zero::ModelElement"
ELEMENT_IMPL = "tarn::zero::ElementImpl"


def plain(kind):
    """The type without references, aliases and const."""
    if kind.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
        kind = kind.target()
    return kind.unqualified().strip_typedefs()


def derives(kind, name):
    """True if the class is `name` or has it as its first base, or that one's."""
    while kind.code == gdb.TYPE_CODE_STRUCT:
        if kind.name == name:
            return True
        fields = kind.fields()
        if not fields or not fields[0].is_base_class:
            return False
        kind = fields[0].type.strip_typedefs()
    return False


def member(value, *path):
    """The member at the end of the path; None if there is none that can be read."""
    try:
        for name in path:
            value = value[name]
        return value
    except (gdb.error, RuntimeError):
        return None


def is_set(value, name):
    flag = member(value, name)
    return flag is not None and bool(flag)


def text_of(value):
    """What a std::string or std::u16string holds, quoted; None if it cannot be read."""
    first, size = member(value, "_M_dataplus", "_M_p"), member(value, "_M_string_length")
    try:
        encoding = "utf-8" if first.type.strip_typedefs().target().sizeof == 1 else "utf-16"
        text = first.string(encoding, "replace", length=int(size))
    except (AttributeError, OverflowError, TypeError, gdb.error):
        return None
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n") + '"'


def uuid_of(value):
    """The 36 characters of a boost::uuids::uuid, however it keeps its sixteen bytes."""
    if value is None:
        return None
    try:
        if value.address is not None:
            digits = bytes(gdb.selected_inferior().read_memory(int(value.address), 16)).hex()
        else:
            digits = bytes(int(value["data"][index]) for index in range(16)).hex()
    except gdb.error:
        return None
    return "-".join((digits[:8], digits[8:12], digits[12:16], digits[16:20], digits[20:]))


def children_of(container):
    """What a standard container holds, as its own printer shows it; nothing if it has none."""
    if container is None:
        return
    printer = gdb.default_visualizer(container)
    if printer is not None and hasattr(printer, "children"):
        for _, child in printer.children():
            yield child


def alternative(variant):
    """What a std::variant holds now; None if it holds nothing or cannot be read."""
    index = member(variant, "_M_index")
    if index is not None:
        kind = plain(variant.type)
        index = int(index)
        storage = member(variant, "_M_u", *["_M_rest"] * index, "_M_first", "_M_storage")
        if storage is not None and storage.address is not None:
            wanted = kind.template_argument(index)
            return storage.address.cast(wanted.pointer()).dereference()
    return next(children_of(variant), None)


def value_text(value):
    """A property value, or a value of the expression language, on one line."""
    try:
        held = alternative(member(value, "value") if member(value, "value") is not None else member(value, "m_content"))
    except gdb.error:
        held = None
    if held is None:
        return "<unreadable>"
    kind = plain(held.type)
    if kind.name in ("studio::data::undefined", "std::monostate"):
        return "undefined"
    if kind.name == "boost::uuids::uuid":
        return uuid_of(held) or "<unreadable>"
    return text_of(held) or str(held)


def most_derived(impl):
    """The element that a pointer to any of its bases points to, as far as its class is known here."""
    try:
        return impl.cast(impl.dynamic_type).dereference()
    except (gdb.error, RuntimeError):
        return impl.dereference()


def kind_of(kind):
    """What messages call the class: Property, or meta::Property."""
    name = plain(kind).name or "element"
    if "MetaElement<" in name:   # the implementation of a meta class
        name = name.partition("<")[2].removesuffix(">")
    for prefix in ("studio::data::", "tarn::zero::"):
        name = name.removeprefix(prefix)
    return name.removesuffix("::Impl")


def element_text(element):
    """Kind, name, value, UUID and what is wrong with it: Property "title" = "notes.txt" (0f8f...)."""
    words = [kind_of(element.type)]
    for name in ("name", "m_name"):
        text = member(element, name)
        if text is not None:
            words.append(text_of(text))
    if member(element, "value") is not None:
        words += ["=", value_text(element["value"])]
    identity = uuid_of(member(element, "m_uuid"))
    if identity:
        words.append("(" + identity + ")")
    if member(element, "m_alive") is not None and not is_set(element, "m_alive"):
        words.append("destroyed")
    if is_set(element, "m_proxy"):
        words.append("proxy")
    return " ".join(word for word in words if word)


def contents(element):
    """The active contexts of a context, then its properties by name."""
    names = [text_of(name) for name in children_of(member(element, "activeContexts", "m_values"))]
    if names:
        yield "active contexts", ", ".join(name or "<unreadable>" for name in names)
    properties = []   # the map sorts them only when somebody walks
    for child in children_of(member(element, "properties", "m_elements", "m_list")):
        impl = member(child, "m_impl", "m_object")
        if impl is not None and int(impl) != 0:   # null: a gap in the list
            properties.extend(named_value(most_derived(impl)))
    yield from sorted(properties)


def named_value(property_):
    name, value = member(property_, "name"), member(property_, "value")
    if name is not None and value is not None:
        yield text_of(name) or "?", value_text(value)


class Line:
    """A value that one line shows."""

    def __init__(self, text):
        self.text = text

    def to_string(self):
        return self.text


class Element(Line):
    """An element, and below it what it contains."""

    def __init__(self, element, text=None):
        super().__init__(text or element_text(element))
        self.entries = list(contents(element))

    def children(self):
        return iter(self.entries)


def handle(value):
    impl = member(value, "m_impl", "m_object")
    if impl is None:
        return None
    if int(impl) == 0:
        return Line(kind_of(value.type) + " null")
    element = most_derived(impl)
    if member(element, "m_uuid") is None:   # no debug information about what it refers to
        return Line(f"{kind_of(value.type)} at {int(impl):#x}")
    return Element(element)


def provider(value):
    impl = member(value, "element", "m_impl", "m_object")
    if impl is None:
        return Line(f"ContextProvider at {int(value.address):#x}")
    element = most_derived(impl)
    return Element(element, element_text(element).replace("ContextData", "ContextProvider", 1))


def expression_handle(value):
    words = ["ExpressionHandle"]
    expression = member(value, "expression")
    if expression is not None and int(expression) == 0:
        words.append("detached")
    elif member(expression, "value") is not None:
        words += [text_of(member(expression, "text")), "=", value_text(expression["value"])]
    return Line(" ".join(word for word in words if word))


def context_handle(value):
    identity = uuid_of(member(value, "uuid"))
    if identity is None:
        return Line(f"ContextHandle at {int(value.address):#x}")
    return Line(f"ContextHandle ({identity})" + (" detached" if is_set(value, "detached") else ""))


PRINTERS = {
    "boost::uuids::uuid": lambda value: Line(uuid_of(value) or "<unreadable>"),
    "gel::Value": lambda value: Line(value_text(value)),
    "studio::data::ContextHandleImpl": context_handle,
    "studio::data::ContextProvider": provider,
    "studio::data::ExpressionHandle": expression_handle,
    "studio::data::PropertyValue": lambda value: Line(value_text(value)),
    "studio::data::undefined": lambda value: Line("undefined"),
}


class Printers(gdb.printing.PrettyPrinter):
    def __init__(self):
        super().__init__("studio_data", [gdb.printing.SubPrettyPrinter(name) for name in sorted(PRINTERS)])

    def __call__(self, value):
        try:
            return self.printer(value)
        except (gdb.error, OverflowError, RuntimeError, TypeError, ValueError):
            return None   # what lies there is no value yet, or no longer: gdb shows its members

    def printer(self, value):
        kind = plain(value.type)
        if kind.code != gdb.TYPE_CODE_STRUCT:
            return None
        if kind.name in PRINTERS:
            return PRINTERS[kind.name](value)
        if derives(kind, ELEMENT):
            return handle(value)
        if derives(kind, ELEMENT_IMPL) and value.address is not None:
            return Element(most_derived(value.address))
        return None


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers(), replace=True)
