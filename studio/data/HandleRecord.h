#pragma once

#include "studio/data/ContextHandleImpl.h"

#include <boost/core/noncopyable.hpp>
#include <boost/intrusive/list.hpp>

#include <memory>
#include <unordered_set>

namespace studio::data {

class ContextProvider;

/// One context that handles hold in a view: the handles, and the provider, which lives as long as there are handles.
/// The context's id is the provider's.
class HandleRecord
    : public boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::auto_unlink>>,
      private boost::noncopyable {
public:
    /// Handles in order of acquisition. A destroyed handle leaves its list.
    using List = boost::intrusive::list<
        ContextHandleImpl,
        boost::intrusive::member_hook<ContextHandleImpl, decltype(ContextHandleImpl::link), &ContextHandleImpl::link>,
        boost::intrusive::constant_time_size<false>>;

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
    List ordered;   // these handles, in order of acquisition
};

/// A view's records in order of creation; the list owns none of them, and a destroyed record leaves it.
using RecordList = boost::intrusive::list<HandleRecord, boost::intrusive::constant_time_size<false>>;

}   // namespace studio::data
