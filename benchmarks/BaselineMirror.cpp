#include "benchmarks/BaselineMirror.h"

namespace benchmarks::baseline {

Mirror::Mirror(Store& source, std::uint32_t root) : source{source}
{
    gain(root);
    source.listeners.push_back(this);
}

Mirror::~Mirror()
{
    std::erase(source.listeners, this);
}

Value const* Mirror::find(std::uint32_t slot) const
{
    bool const isCopied = slot < slotCopies.size() && slotCopies[slot] != Store::NONE;
    return isCopied ? &copy.slots[slotCopies[slot]].value : nullptr;
}

void Mirror::committed(Store::Report const& report)
{
    copy.begin();
    for (Store::Old const& old : report) {
        if (!find(old.slot))
            continue;
        Value const& value = source.slots[old.slot].value;
        if (auto const* const reference = std::get_if<Identity>(&old.value))
            lose(source.contextOf(*reference));
        if (auto const* const reference = std::get_if<Identity>(&value))
            gain(source.contextOf(*reference));
        copy.write(slotCopies[old.slot], Value(value));
    }
    copy.commit();
}

void Mirror::gain(std::uint32_t context)
{
    if (copies.size() <= context)
        copies.resize(source.contexts.size());
    if (copies[context].references++ != 0)
        return;
    if (slotCopies.size() < source.slots.size())
        slotCopies.resize(source.slots.size(), Store::NONE);
    std::uint32_t const made = copies[context].context = copy.addContext();
    for (Store::Entry const& entry : source.contexts[context].entries)
        if (entry.name != 0)
            slotCopies[entry.slot] = copy.addSlot(made, source.names.text(entry.name), source.slots[entry.slot].value);
}

void Mirror::lose(std::uint32_t context)
{
    if (--copies[context].references != 0)
        return;
    Store::Context& gone = copy.contexts[copies[context].context];
    copy.byIdentity.erase(gone.identity);
    gone.entries = {};
    for (Store::Entry const& entry : source.contexts[context].entries)
        if (entry.name != 0) {
            copy.slots[slotCopies[entry.slot]].value = {};
            slotCopies[entry.slot] = Store::NONE;
        }
}

}   // namespace benchmarks::baseline
