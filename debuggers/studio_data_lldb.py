"""Shows the values of studio_data in lldb as a person reads them: property values, UUIDs, element handles, providers.

    command script import studio_data_lldb.py

`frame variable --raw-output` shows what lies underneath. A field that is not there, in a library without debug information
or of another version, is left out. Handles of element classes of your own are shown after

    type summary add --expand --python-function studio_data_lldb.handle my::Handle
"""
import lldb

META = ("Argument", "Class", "Interface", "NamedElement", "OperatableType", "Operation", "Package", "PrimitiveType",
        "Property", "StructuredType", "Type", "TypedElement")
INVALID = lldb.LLDB_INVALID_ADDRESS
MOST = 1 << 20   # more bytes or entries than that are no text or vector, but memory that was never one


def plain(kind):
    """The name of the type without references, aliases and const."""
    if kind.IsReferenceType():
        kind = kind.GetDereferencedType()
    return kind.GetUnqualifiedType().GetCanonicalType().GetName()


def has_members(kind):
    return kind.GetNumberOfFields() > 0 or kind.GetNumberOfDirectBaseClasses() > 0


def full_type(target, name):
    """The class as the module describes it that has its members; None if there is none."""
    return next((kind for kind in target.FindTypes(name) if has_members(kind)), None)


def as_type(value, address, kind):
    made = value.CreateValueFromAddress(value.GetName() or "element", address, kind)
    return made.GetNonSyntheticValue() if made.IsValid() else None


def is_indirect(value):
    return value.GetType().IsPointerType() or value.GetType().IsReferenceType()


def address_of(value):
    """Where the value is, or what it refers to."""
    return value.GetValueAsUnsigned() if is_indirect(value) else value.GetLoadAddress()


def object_of(value):
    """What the value is, or refers to, with its members as far as they are known in any module."""
    value = value.GetNonSyntheticValue()
    address = address_of(value)
    if is_indirect(value):
        kind = value.GetType()
        kind = kind.GetPointeeType() if kind.IsPointerType() else kind.GetDereferencedType()
        found = value.Dereference().GetNonSyntheticValue()
    else:
        kind, found = value.GetType(), value
    if not has_members(kind.GetCanonicalType()) and address != INVALID:
        full = full_type(value.GetTarget(), plain(kind))
        return full and as_type(value, address, full) or found
    return found


def member(value, *path):
    """The member at the end of the path; None if there is none that can be read."""
    for name in path:
        if value is None:
            return None
        value = value.GetChildMemberWithName(name)
        value = value.GetNonSyntheticValue() if value.IsValid() else None
    return value


def is_set(value, name):
    flag = member(value, name)
    return flag is not None and flag.GetValueAsUnsigned() != 0


def bytes_at(value, address, size):
    error = lldb.SBError()
    read = value.GetProcess().ReadMemory(address, size, error) if 0 < size < MOST else b""
    return read if error.Success() and len(read) == size else None


def text_in(value):
    """Where a std::string or std::u16string has its characters, and how many; None and 0 if that cannot be read."""
    first, size = member(value, "_M_dataplus", "_M_p"), member(value, "_M_string_length")
    if size is None:   # libc++
        inside = member(value, "__r_", "__value_") or member(value, "__rep_")
        place = member(inside, "__l" if is_set(member(inside, "__s"), "__is_long_") else "__s")
        first, size = member(place, "__data_"), member(place, "__size_")
    return (first, size.GetValueAsUnsigned()) if first is not None and size is not None else (None, 0)


def text_of(value):
    """What a std::string or std::u16string holds, quoted; None if it cannot be read."""
    first, size = text_in(value)
    if first is None:
        return None
    kind = first.GetType()
    is_inside = kind.IsArrayType()
    wide = (kind.GetArrayElementType() if is_inside else kind.GetPointeeType()).GetByteSize() == 2
    address = first.GetLoadAddress() if is_inside else first.GetValueAsUnsigned()
    read = bytes_at(first, address, size * (2 if wide else 1)) if size else b""
    if read is None:
        return None
    text = read.decode("utf-16-le" if wide else "utf-8", "replace")
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n") + '"'


def uuid_of(value):
    """The 36 characters of a boost::uuids::uuid, however it keeps its sixteen bytes."""
    if value is None or value.GetLoadAddress() == INVALID:
        return None
    read = bytes_at(value, value.GetLoadAddress(), 16)
    if read is None:
        return None
    digits = read.hex()
    return "-".join((digits[:8], digits[8:12], digits[12:16], digits[16:20], digits[20:]))


def children_of(vector):
    """What a std::vector holds."""
    first = member(vector, "_M_impl", "_M_start") or member(vector, "__begin_")
    end = member(vector, "_M_impl", "_M_finish") or member(vector, "__end_")
    if first is None or end is None:
        return
    kind = first.GetType().GetPointeeType()
    size = kind.GetByteSize()
    address, end = first.GetValueAsUnsigned(), end.GetValueAsUnsigned()
    count = (end - address) // size if size else 0
    for index in range(count if count < MOST else 0):
        yield as_type(first, address + index * size, kind)


def alternative(variant):
    """What a std::variant holds now; None if it holds nothing or cannot be read."""
    index = member(variant, "_M_index")
    if index is not None:   # libstdc++
        rest, head, content = member(variant, "_M_u"), "_M_first", "_M_storage"
        following = "_M_rest"
    else:                   # libc++
        inside = member(variant, "__impl_") or member(variant, "__impl")
        index, rest = member(inside, "__index"), member(inside, "__data")
        following, head, content = "__tail", "__head", "__value"
    if index is None or rest is None:
        return None
    position = index.GetValueAsUnsigned()
    if position > 16:       # valueless, or no variant yet
        return None
    held = member(rest, *[following] * position, head)
    stored = member(held, content)
    if stored is None:
        return None
    if "__aligned_membuf" in stored.GetType().GetName():   # raw bytes, of the type that they are for
        return as_type(stored, stored.GetLoadAddress(), held.GetType().GetTemplateArgumentType(0))
    return stored


def value_text(value):
    """A property value, or a value of the expression language, on one line."""
    held = alternative(member(value, "value") or member(value, "m_content"))
    if held is None:
        return "<unreadable>"
    name = plain(held.GetType())
    if name == "studio::data::undefined" or name.endswith("::monostate"):
        return "undefined"
    if name == "boost::uuids::uuid":
        return uuid_of(held) or "<unreadable>"
    return held.GetValue() or text_of(held) or "<unreadable>"


def virtual_table(target, address):
    """The symbol of the class whose objects begin with this address; None if no module has one there.

    Searches module by module: lldb 14 itself finds nothing in a library whose variables of a thread come first.
    """
    symbol = target.ResolveLoadAddress(address).GetSymbol()
    if symbol.IsValid():
        return symbol.GetName()
    for module in target.module_iter():
        header = module.GetObjectFileHeaderAddress()
        if header.IsValid() and header.GetLoadAddress(target) != INVALID:
            place = address - header.GetLoadAddress(target) + header.GetFileAddress()
            symbol = module.ResolveFileAddress(place).GetSymbol() if place > 0 else None
            if symbol and symbol.IsValid() and symbol.GetStartAddress().GetFileAddress() <= place \
                    < symbol.GetEndAddress().GetFileAddress():
                return symbol.GetName()
    return None


def most_derived(pointer):
    """The element that a pointer to any of its bases points to, as far as its class is known here."""
    address = pointer.GetValueAsUnsigned()
    error = lldb.SBError()
    first = pointer.GetProcess().ReadPointerFromMemory(address, error)
    target = pointer.GetTarget()
    name = virtual_table(target, first) if error.Success() else None
    if name and name.startswith("vtable for "):
        kind = full_type(target, name.removeprefix("vtable for "))
        if kind:
            return as_type(pointer, address, kind)
    return object_of(pointer)


def kind_of(kind):
    """What messages call the class: Property, or meta::Property."""
    name = plain(kind) or "element"
    if "MetaElement<" in name:   # the implementation of a meta class
        name = name.partition("<")[2].removesuffix(">").strip()
    for prefix in ("studio::data::", "tarn::zero::"):
        name = name.removeprefix(prefix)
    return name.removesuffix("::Impl")


def element_text(element):
    """Kind, name, value, UUID and what is wrong with it: Property "title" = "notes.txt" (0f8f...)."""
    words = [kind_of(element.GetType())]
    for name in ("name", "m_name"):
        text = member(element, name)
        if text is not None:
            words.append(text_of(text))
    value = member(element, "value")
    if value is not None:
        words += ["=", value_text(value)]
    identity = uuid_of(member(element, "m_uuid"))
    if identity:
        words.append("(" + identity + ")")
    if member(element, "m_alive") is not None and not is_set(element, "m_alive"):
        words.append("destroyed")
    if is_set(element, "m_proxy"):
        words.append("proxy")
    return " ".join(word for word in words if word)


def element_of(value):
    """The element of a handle, of a provider, or the value itself; None if there is none that can be read."""
    value = object_of(value)
    pointer = member(value, "element", "m_impl", "m_object") or member(value, "m_impl", "m_object")
    if pointer is None:
        return most_derived(value.AddressOf()) if member(value, "m_uuid") is not None else None
    return most_derived(pointer) if pointer.GetValueAsUnsigned() else None


class Contents:
    """Below a context: its active contexts, then its properties by name. Below any other element nothing."""

    def __init__(self, value, _):
        self.value = value
        self.entries = []

    def update(self):
        self.entries = []
        element = element_of(self.value)
        if element is None:
            return False
        active = member(element, "activeContexts")
        if active is not None and any(children_of(member(active, "m_values"))):
            self.entries.append(active.CreateValueFromAddress("active contexts", active.GetLoadAddress(), active.GetType()))
        properties = []   # the map sorts them only when somebody walks
        for child in children_of(member(element, "properties", "m_elements", "m_list")):
            pointer = member(child, "m_impl", "m_object")
            if pointer is not None and pointer.GetValueAsUnsigned():   # null: a gap in the list
                property_ = most_derived(pointer)
                name, value = member(property_, "name"), member(property_, "value")
                if name is not None and value is not None:
                    properties.append((text_of(name) or "?", value))
        for name, value in sorted(properties, key=lambda entry: entry[0]):
            self.entries.append(value.CreateValueFromAddress(name, value.GetLoadAddress(), value.GetType()))
        return False

    def num_children(self):
        return len(self.entries)

    def has_children(self):
        return bool(self.entries)

    def get_child_index(self, name):
        return next((index for index, entry in enumerate(self.entries) if entry.GetName() == name), -1)

    def get_child_at_index(self, index):
        return self.entries[index] if 0 <= index < len(self.entries) else None


def property_value(value, _):
    return value_text(object_of(value))


def undefined(_, __):
    return "undefined"


def uuid(value, _):
    return uuid_of(object_of(value)) or "<unreadable>"


def active_contexts(value, _):
    return ", ".join(text_of(name) or "<unreadable>" for name in children_of(member(object_of(value), "m_values")))


def handle(value, _):
    shown = object_of(value)
    pointer = member(shown, "m_impl", "m_object")
    if pointer is None:
        return "<unreadable>"
    if not pointer.GetValueAsUnsigned():
        return kind_of(shown.GetType()) + " null"
    element = most_derived(pointer)
    if member(element, "m_uuid") is None:   # no debug information about what it refers to
        return f"{kind_of(shown.GetType())} at {pointer.GetValueAsUnsigned():#x}"
    return element_text(element)


def element(value, _):
    found = element_of(value)
    return element_text(found) if found is not None else "<unreadable>"


def provider(value, _):
    found = element_of(value)
    if found is None:
        return f"ContextProvider at {address_of(value):#x}"
    return element_text(found).replace("ContextData", "ContextProvider", 1)


def expression_handle(value, _):
    words = ["ExpressionHandle"]
    pointer = member(object_of(value), "expression")
    if pointer is not None and not pointer.GetValueAsUnsigned():
        words.append("detached")
    elif pointer is not None:
        expression = object_of(pointer)
        text, result = member(expression, "text"), member(expression, "value")
        if result is not None:
            words += [text_of(object_of(text)), "=", value_text(result)]
    return " ".join(word for word in words if word)


def context_handle(value, _):
    shown = object_of(value)
    identity = uuid_of(member(shown, "uuid"))
    if identity is None:
        return f"ContextHandle at {address_of(value):#x}"
    return f"ContextHandle ({identity})" + (" detached" if is_set(shown, "detached") else "")


HANDLES = ["tarn::zero::ModelElement", "studio::data::ContextData", "studio::data::Property",
           *(f"tarn::zero::meta::{name}" for name in META)]
ELEMENTS = ["tarn::zero::ElementImpl", *(name + "::Impl" for name in HANDLES)]
SUMMARIES = {
    "boost::uuids::uuid": uuid,
    "gel::Value": property_value,
    "studio::data::ContextData::Impl::ActiveContexts": active_contexts,
    "studio::data::ContextHandleImpl": context_handle,
    "studio::data::ExpressionHandle": expression_handle,
    "studio::data::PropertyValue": property_value,
    "studio::data::undefined": undefined,
}
UNFOLDED = {
    "studio::data::ContextProvider": provider,
    **{name: handle for name in HANDLES},
    **{name: element for name in ELEMENTS},
}


def __lldb_init_module(debugger, _):
    for name, function in {**SUMMARIES, **UNFOLDED}.items():
        unfold = "--expand " if name in UNFOLDED else ""
        debugger.HandleCommand(
            f'type summary add --category studio_data {unfold}--python-function {__name__}.{function.__name__} "{name}"')
        debugger.HandleCommand(
            f'type synthetic add --category studio_data --python-class {__name__}.Contents "{name}"')
    debugger.HandleCommand("type category enable studio_data")
