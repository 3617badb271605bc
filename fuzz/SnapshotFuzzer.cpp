#include "Target.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/host/ContextTree.h"
#include "tarn/zero/ModelImpl.h"

#include <stdexcept>
#include <string>
#include <string_view>

// The bytes are a snapshot, restored into a tree that has contexts. Either it is refused and the tree is as before, or
// the tree is as the snapshot says: saving and restoring it once more changes nothing.

namespace {

struct Silence : tarn::zero::Listener {
    Silence() { studio::data::ContextProvider::sharedModel()->addDeepListener(this); }
    ~Silence() override { studio::data::ContextProvider::sharedModel()->removeListener(this); }
    void transactionCommitted(tarn::zero::ShallowChangeReport<studio::data::Property> const&) { fail(); }
    void transactionCommitted(tarn::zero::ShallowChangeReport<studio::data::ContextData> const&) { fail(); }
    static void fail() { require(false, "restoring an equal state notifies nobody"); }
};

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using studio::host::ContextTree;
    using studio::host::Identities;
    std::string_view const text{reinterpret_cast<char const*>(data), size};
    for (Identities const identities : {Identities::Kept, Identities::Fresh}) {
        ContextTree tree;
        tree.make("editor.document")->addProperty("title", "x");
        std::string const before = tree.save();
        try {
            tree.restore(text, identities);
        } catch (std::invalid_argument const&) {
            require(tree.save() == before, "a snapshot that is refused changes nothing");
            continue;
        }
        std::string const saved = tree.save();
        Silence const silence;
        tree.restore(saved, Identities::Kept);
        tree.restore(saved, Identities::Fresh);
        require(tree.save() == saved, "a snapshot restores what was saved");
    }
    return 0;
}
