"""What debuggers show of the objects in program.cpp. The tests of gdb, lldb and natvis compare with this table."""
from typing import NamedTuple

UUID = "00000000-0000-0000-0000-0000000000"
ANY = "(xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx)"   # identities of providers and types are random


class Shown(NamedTuple):
    """What is shown of one object: its class, a text of one line, and what can be unfolded below it, by name."""
    kind: str
    text: str
    inside: dict = {}


UNDEFINED, VALUE, RESULT = "studio::data::undefined", "studio::data::PropertyValue", "gel::Value"
IDENTITY, PROPERTY, CONTEXT = "boost::uuids::uuid", "studio::data::Property", "studio::data::ContextData"
ELEMENT, META_CLASS = "tarn::zero::ModelElement", "tarn::zero::meta::Class"
PROVIDER, SUBSCRIPTION = "studio::data::ContextProvider", "studio::data::ExpressionHandle"
WATCH = "studio::data::ContextHandleImpl"

# At the first stop and at the second.
FIRST = {
    "undefinedTag": Shown(UNDEFINED, "undefined"),
    "nothing": Shown(VALUE, "undefined"),
    "number": Shown(VALUE, "2.5"),
    "logical": Shown(VALUE, "true"),
    "text": Shown(VALUE, r'"a \"b\"\nc"'),
    "reference": Shown(VALUE, f"{UUID}2a"),
    "id": Shown(IDENTITY, f"{UUID}2a"),
    "two": Shown("", "", {"first": "1", "second": '"two"'}),   # a class that no formatter knows
    "result": Shown(RESULT, '"long enough to be kept apart"'),
    "noResult": Shown(RESULT, "undefined"),
    "title": Shown(PROPERTY, f'Property "title" = "notes.txt" ({UUID}02)'),
    "plain": Shown(ELEMENT, f'Property "title" = "notes.txt" ({UUID}02)'),
    "element": Shown(PROPERTY + "::Impl", f'Property "title" = "notes.txt" ({UUID}02)'),
    "none": Shown(PROPERTY, "Property null"),
    "gone": Shown(PROPERTY, f'Property "" = undefined ({UUID}04) destroyed'),
    "standIn": Shown(PROPERTY, f'Property "" = undefined ({UUID}05) proxy'),
    "context": Shown(CONTEXT, f"ContextData ({UUID}01)",
                     {"active contexts": '"editing"', '"size"': "3", '"title"': '"notes.txt"'}),
    "contextElement": Shown(CONTEXT + "::Impl", f"ContextData ({UUID}01)",
                            {"active contexts": '"editing"', '"size"': "3", '"title"': '"notes.txt"'}),
    "window": Shown(PROVIDER, f"ContextProvider {ANY}", {'"open"': "true"}),
    "type": Shown(META_CLASS, f'meta::Class "Property" {ANY}'),
    "noValue": Shown(VALUE, "<unreadable>"),
    "subscription": Shown(SUBSCRIPTION, 'ExpressionHandle "open" = true'),
    "watch": Shown(WATCH, f"ContextHandle {ANY}"),
}
SECOND = {
    "late": Shown(SUBSCRIPTION, "ExpressionHandle detached"),
    "lateWatch": Shown(WATCH, f"ContextHandle {ANY} detached"),
}

# What is shown of classes of the library where it has no debug information: kinds and addresses. A variable that is an
# element itself is left out: debuggers have nothing to go by.
PLAIN = {
    **{name: "Property at 0x" for name in ("title", "gone", "standIn")},
    "plain": "ModelElement at 0x",
    "context": "ContextData at 0x",
    "type": "meta::Class at 0x",
    "window": "ContextProvider at 0x",
    **{name: "ContextHandle at 0x" for name in ("watch", "lateWatch")},
    "subscription": "ExpressionHandle",
}
ONLY_WITH_THE_LIBRARY = ["element", "contextElement"]

# What has no value yet is shown somehow, without a complaint of the formatters.
UNMADE = ["noValue", "noProperty", "noHandle"]

KINDS = {shown.kind for shown in (*FIRST.values(), *SECOND.values()) if shown.kind}
