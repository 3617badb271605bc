#pragma once

#include "tarn/zero/ElementImpl.h"

#include <string>

namespace tarn::zero {

/// What a new model is made from.
struct ModelSpec {
    std::u16string name;   ///< for display; may be empty and need not be unique
};

/// A set of models created together; here always one.
class ModelConstellation {
public:
    ModelConstellation() = default;
    explicit ModelConstellation(ModelSpec mainModel) : m_mainModel{std::move(mainModel)} {}

    /// What the set's only model is made from.
    ModelSpec const& mainModel() const noexcept { return m_mainModel; }

private:
    ModelSpec m_mainModel;
};

/// Counted handle to a model: a set of elements with their own transactions. The model lives while a handle to it, an
/// open transaction or a report in delivery exists. When it ends, the handles of its elements turn false and stay safe
/// to hold. A model and its elements are used on one thread at a time.
class STUDIO_DATA_EXPORT Model {
public:
    class Impl;
    class Freezer;
    class Thawer;

    Model() noexcept = default;
    explicit Model(Impl* impl) noexcept : m_impl{impl} {}

    /// Creates an empty model.
    [[nodiscard]] static Model create(ModelSpec const& wanted);
    [[nodiscard]] static Model create(ModelConstellation const& constellation);

    /// Adds a reference by hand; no effect on a null handle.
    void addRef() const noexcept;
    /// Drops a reference added by `addRef`; no effect on a null handle.
    void removeRef() const noexcept;

    explicit operator bool() const noexcept { return get() != nullptr; }
    Impl* get() const noexcept { return m_impl.get(); }
    /// Complete in ModelImpl.h: transactions, lookups and listeners.
    Impl* operator->() const noexcept { return get(); }

    friend bool operator==(Model const& left, Model const& right) noexcept { return left.m_impl == right.m_impl; }

private:
    friend STUDIO_DATA_EXPORT void takeReference(Impl* impl) noexcept;
    friend STUDIO_DATA_EXPORT void dropReference(Impl* impl) noexcept;

    Counted<Impl> m_impl;
};

/// Scope guard that freezes a model: opening a transaction on it throws `ModelFrozen`.
class STUDIO_DATA_EXPORT Model::Freezer {
public:
    /// Freezes the model.
    explicit Freezer(Model model);
    Freezer(Freezer const&) = delete;
    Freezer& operator=(Freezer const&) = delete;
    ~Freezer();

    /// Makes the model writable until the returned guard is destroyed. Several may overlap.
    [[nodiscard]] Thawer thaw();

private:
    Model m_model;
};

/// Scope guard that makes a frozen model writable.
class STUDIO_DATA_EXPORT Model::Thawer {
public:
    /// Makes the model writable.
    explicit Thawer(Model model) noexcept;
    Thawer(Thawer&& other) noexcept = default;
    Thawer& operator=(Thawer&&) = delete;
    ~Thawer();

private:
    Model m_model;
};

}   // namespace tarn::zero
