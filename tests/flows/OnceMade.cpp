#include "gel/Eval.h"
#include "gel/Program.h"
#include "studio/data/ContextProvider.h"
#include "studio/data/PropertyService.h"
#include "studio/data/model/MetaPackageStudio_data.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/PropertySerializerRegistry.h"

#include <atomic>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

// What is made on first use, from eight threads at once, and what every thread may use at any time: the language.
// Run under a thread sanitizer.

namespace {

struct Nothing final : gel::DataSource {
    gel::Value lookup(std::string const&) const override { return {}; }
};

}   // namespace

int main()
{
    std::atomic<int> waiting = 8;
    std::atomic<int> wrong = 0;
    std::atomic<void const*> model = nullptr;
    auto const use = [&] {
        for (--waiting; waiting != 0;) {}
        void const* const mine = studio::data::ContextProvider::sharedModel().get();
        void const* seen = nullptr;
        if (!model.compare_exchange_strong(seen, mine) && seen != mine)
            ++wrong;
        wrong += studio::data::ContextData::metaClass() ? 0 : 1;
        wrong += studio::data::Property::metaClass() ? 0 : 1;
        wrong += tarn::zero::meta::MetaRegistry::getInstance().getPrimitiveType(u"StdString") ? 0 : 1;
        {
            tarn::zero::meta::PropertySerializerRegistry::LockGuard const lock{
                tarn::zero::meta::PropertySerializerRegistry::getInstance()};
        }
        gel::Program const shared{"a ?? 'shared'"};
        for (int i = 0; i != 200; ++i) {
            wrong += gel::eval("1 + " + std::to_string(i), Nothing{}) == gel::Value{1 + i} ? 0 : 1;
            wrong += shared.eval(Nothing{}) == gel::Value{"shared"} ? 0 : 1;
        }
    };
    auto const inEightThreads = [](auto const& work) {
        std::vector<std::thread> threads;
        for (int i = 0; i != 8; ++i)
            threads.emplace_back(work);
        for (std::thread& thread : threads)
            thread.join();
    };
    inEightThreads(use);
    inEightThreads([&wrong, copied = gel::Program{"'abab' =~ /^(a|b)+$/ && (n ?? 1) + 1 == 2"}] {
        for (int i = 0; i != 200; ++i)
            wrong += copied.eval(Nothing{}) == gel::Value{true} ? 0 : 1;
    });
    std::cout << (wrong == 0 ? "made once\n" : "made otherwise\n");
    return wrong != 0;
}
