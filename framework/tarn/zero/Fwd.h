#pragma once

namespace tarn::zero {

class AbstractOwnedCollection;
class AbstractQuery;
class ElementImpl;
class Invariants;   // of the tests: accesses private members
class Listener;
class ListenerHolderBase;
class Model;
class ModelConstellation;
class ModelElement;
class ProxyId;
class ReportData;
class Transaction;
class Value;
class ValueMeta;
struct ModelSpec;

template <class T>
class DeepChangeReport;
template <class T>
class ShallowChangeReport;

namespace detail {
class Delivery;
class ElementTable;
class Journal;
class ListenerList;
struct StoragePool;
}   // namespace detail

}   // namespace tarn::zero

namespace tarn::zero::meta {

class Argument;
class Class;
class Interface;
class MetaRegistry;
class NamedElement;
class OperatableType;
class Operation;
class Package;
class PrimitiveType;
class Property;
class PropertySerializer;
class PropertySerializerRegistry;
class StructuredType;
class Type;
class TypedElement;
class VersionInfo;

}   // namespace tarn::zero::meta
