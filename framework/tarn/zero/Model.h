#pragma once

#include "tarn/zero/ElementImpl.h"

#include <string>

namespace tarn::zero {

/// What a model is made from.
struct ModelSpec {
    std::u16string name;   ///< for people; models need not have one, nor different ones
};

/// A set of models that are made together; here always of one.
class ModelConstellation {
public:
    ModelConstellation() = default;
    explicit ModelConstellation(ModelSpec mainModel) : m_mainModel{std::move(mainModel)} {}

    /// What the one model of the set is made from.
    ModelSpec const& mainModel() const noexcept { return m_mainModel; }

private:
    ModelSpec m_mainModel;
};

/// A counted handle to a model: a set of elements with transactions of its own. The model lives as long as a handle to
/// it, an open transaction or a report being delivered. When it ends, the handles of its elements turn false and stay
/// safe to hold. A model and its elements are used on one thread at a time.
class STUDIO_DATA_EXPORT Model {
public:
    class Impl;
    class Freezer;
    class Thawer;

    Model() noexcept = default;
    explicit Model(Impl* impl) noexcept;
    Model(Model const& other) noexcept;
    Model(Model&& other) noexcept : m_impl{other.m_impl} { other.m_impl = nullptr; }
    Model& operator=(Model const& other) noexcept;
    Model& operator=(Model&& other) noexcept;
    ~Model();

    /// A new, empty model.
    static Model create(ModelSpec const& wanted);
    static Model create(ModelConstellation const& constellation);

    /// Takes or drops one more reference by hand; ignored by a null handle.
    void addRef() const noexcept;
    /// Drops it again.
    void removeRef() const noexcept;

    explicit operator bool() const noexcept { return m_impl != nullptr; }
    Impl* get() const noexcept { return m_impl; }
    /// Complete in ModelImpl.h: transactions, look-ups and listeners.
    Impl* operator->() const noexcept { return m_impl; }

    friend bool operator==(Model const& left, Model const& right) noexcept { return left.m_impl == right.m_impl; }

private:
    Impl* m_impl = nullptr;
};

/// Keeps a model unwritable for as long as it lives: a transaction on it is refused with `ModelFrozen`.
class STUDIO_DATA_EXPORT Model::Freezer {
public:
    /// Freezes the model from now on.
    explicit Freezer(Model model);
    Freezer(Freezer const&) = delete;
    Freezer& operator=(Freezer const&) = delete;
    ~Freezer();

    /// The model is writable until the answer is destroyed. Several may overlap.
    Thawer thaw();

private:
    Model m_model;
};

/// Makes a frozen model writable while it lives.
class STUDIO_DATA_EXPORT Model::Thawer {
public:
    /// Makes the model writable from now on.
    explicit Thawer(Model model) noexcept;
    Thawer(Thawer&& other) noexcept = default;
    Thawer& operator=(Thawer&&) = delete;
    ~Thawer();

private:
    Model m_model;
};

}   // namespace tarn::zero
