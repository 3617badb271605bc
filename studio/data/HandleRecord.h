#pragma once

#include <boost/core/noncopyable.hpp>

#include <memory>
#include <unordered_set>

namespace studio::data {

class ContextHandleImpl;
class ContextProvider;

/// What a view keeps of one context that handles name: the provider, which lives for as long as there are handles, and
/// the handles. The context's id is the provider's.
class HandleRecord : private boost::noncopyable {
public:
    explicit HandleRecord(std::shared_ptr<ContextProvider> contextProvider) noexcept;
    /// Takes its handles out, marks all of them detached, and then calls them, in order of acquisition. A callback may
    /// destroy any of them; one that throws ends the process. Last, the provider goes.
    virtual ~HandleRecord();

    /// Takes the handle out of the record that it is in. Ignores one that is in this record, or detached. *Throws*
    /// `std::bad_alloc`; the handle is where it was then.
    void add(ContextHandleImpl& handle);
    /// False if the handle is not in this record.
    bool remove(ContextHandleImpl& handle) noexcept;

    std::shared_ptr<ContextProvider> provider;
    std::unordered_set<ContextHandleImpl*> handles;

private:
    friend class RecordList;

    HandleRecord* next = nullptr;   // in the list of its view
    HandleRecord** position = nullptr;
    ContextHandleImpl* newest = nullptr;   // the same handles, each leading to the one acquired before it
};

/// The records of a view in the order in which they were made. Owns none of them.
class RecordList : private boost::noncopyable {
public:
    HandleRecord* first() const noexcept { return oldest; }
    void append(HandleRecord& record) noexcept;
    void remove(HandleRecord& record) noexcept;

private:
    HandleRecord* oldest = nullptr;
    HandleRecord** end = &oldest;
};

}   // namespace studio::data
