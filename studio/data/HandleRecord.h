#pragma once

#include <boost/core/noncopyable.hpp>

#include <memory>
#include <unordered_set>

namespace studio::data {

class ContextHandleImpl;
class ContextProvider;

/// One context that handles hold in a view: the handles, and the provider, which lives as long as there are handles.
/// The context's id is the provider's.
class HandleRecord : private boost::noncopyable {
public:
    explicit HandleRecord(std::shared_ptr<ContextProvider> contextProvider) noexcept;
    /// Removes its handles, marks all of them detached, and then calls them, in order of acquisition. A callback may
    /// destroy any of them; one that throws ends the process. Releases the provider last.
    virtual ~HandleRecord();

    /// Moves the handle here from the record that it is in. Ignores one that is in this record, or detached. *Throws*
    /// `std::bad_alloc`; the handle stays where it was.
    void add(ContextHandleImpl& handle);
    /// Removes a handle. Returns false if it is not in this record.
    bool remove(ContextHandleImpl& handle) noexcept;

    std::shared_ptr<ContextProvider> provider;
    std::unordered_set<ContextHandleImpl*> handles;

private:
    friend class RecordList;

    HandleRecord* next = nullptr;   // in the list of its view
    HandleRecord** position = nullptr;
    ContextHandleImpl* newest = nullptr;   // the handles in reverse order of acquisition
};

/// A view's records in order of creation. Owns none of them.
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
