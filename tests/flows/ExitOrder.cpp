// Clients keep things in statics, which go at exit in any order, before the library's own and after them. An order is
// that in which the statics are made: of a provider (P), an engine (E), a handle of its (H), a view (V), a handle of
// its (C); L is the first use of the library. Usage: exit_order [ORDER], without it every order in a process of its
// own; where an emulator starts each process, every 23rd. Exit code 0: all went well.

#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/ExpressionEngine.h"
#include "tarn/zero/ModelImpl.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#if defined(_WIN32)
#include <process.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace studio::data;

namespace {

template <class T>
T& kept()
{
    static T s_kept;
    return s_kept;
}
auto& s_provider = kept<std::shared_ptr<ContextProvider>>;
auto& s_engine = kept<std::unique_ptr<ExpressionEngine>>;
auto& s_handle = kept<std::unique_ptr<ExpressionHandle>>;
auto& s_view = kept<std::unique_ptr<ContextView>>;
auto& s_contextHandle = kept<std::unique_ptr<ContextHandleImpl>>;

/// Destroyed after everything else: checks that nothing is left and sets the exit code.
struct Judge {
    ~Judge()
    {
        if (!ContextProvider::sharedModel()->elements().empty() || detached != awaited)
            std::_Exit(1);
    }
    int awaited = 0;
    int detached = 0;
};

[[noreturn]] void exitInOrder(std::string const& order)
{
    kept<Judge>().awaited = order.find('C') < order.find('V');   // the view goes first
    for (char const made : order) {
        switch (made) {
        case 'P': s_provider(); break;
        case 'E': s_engine(); break;
        case 'H': s_handle(); break;
        case 'V': s_view(); break;
        case 'C': s_contextHandle(); break;
        default: ContextProvider::create()->addProperty("x", 1);
        }
    }
    s_provider() = ContextProvider::create();
    s_provider()->addProperty("x", 1);
    s_provider()->addProperty("self", s_provider());
    s_provider()->setActiveContexts({"a"});
    s_engine() = std::make_unique<ExpressionEngine>(s_provider());
    s_handle() = s_engine()->acquireExpression("self.self.x + 1", [](auto const&, auto const&) {});
    s_view() = ContextView::create(tarn::zero::Model{});
    s_contextHandle() =
        s_view()->acquire(s_provider()->getId(), [](ContextData const& data) { kept<Judge>().detached += !data; });
    std::exit(0);
}

#if defined(_WIN32)

int statusOf(char const* program, std::string const& order)
{
    return static_cast<int>(_spawnl(_P_WAIT, program, program, order.c_str(), nullptr));
}

int orderStep()
{
    return std::getenv("STUDIO_DATA_EMULATED") != nullptr ? 23 : 1;
}

#else

int statusOf(char const* /*program*/, std::string const& order)
{
    pid_t const child = fork();
    if (child == 0)
        exitInOrder(order);
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child ? status : -1;
}

int orderStep()
{
    return 1;
}

#endif

bool exitsWell(char const* program, std::string const& order)
{
    int const status = statusOf(program, order);
    if (status != 0)
        std::fprintf(stderr, "%s: %d\n", order.c_str(), status);
    return status == 0;
}

}   // namespace

int main(int count, char** arguments)
{
    if (count > 1)
        exitInOrder(arguments[1]);
    std::string order = "CEHLPV";
    int failures = 0;
    int number = 0;
    do {
        if (number++ % orderStep() == 0)
            failures += !exitsWell(arguments[0], order);
    } while (std::next_permutation(order.begin(), order.end()));
    return std::min(failures, 1);
}
