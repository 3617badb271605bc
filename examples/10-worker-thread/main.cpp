// A worker thread that reports its progress, and sees that the user cancels. Contexts belong to the main thread alone:
// the worker posts to a mailbox, and reads what a board publishes.

#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/host/Board.h"
#include "studio/host/Mailbox.h"

#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>

using namespace studio::data;
using namespace studio::host;

int main()
{
    auto const job = ContextProvider::create();
    job->addProperty("percent", 0);
    job->addProperty("state", "running");
    job->addProperty("cancelled", false);

    ExpressionEngine engine(job, ReleasePolicy::KeepsShared);
    auto const label =
        engine.acquireExpression("state + ', ' + percent + ' %'", [](std::string const&, PropertyValue const& value) {
            std::cout << value.asString() << '\n';
        });
    auto const user = engine.acquireExpression("percent >= 60", [&](std::string const&, PropertyValue const& value) {
        if (value.getBool())
            job->setPropertyValue("cancelled", true);
    });
    Board const board(engine, {"percent", "cancelled"});

    std::mutex mutex;   // a host with an event loop posts an event instead
    std::condition_variable condition;
    bool isDue = false;
    auto const wake = [&] {
        std::lock_guard const lock{mutex};
        isDue = true;
        condition.notify_one();
    };
    Mailbox mailbox(wake, [](Failure const& failure) { std::cerr << failure.text << ": " << failure.reason << '\n'; });

    std::thread worker([&mailbox, &board, id = job->getId()] {
        for (int percent = 20; percent <= 100; percent += 20) {
            mailbox.write(id, "percent", percent);
            while (*board.current()->find("percent") != percent)   // only so that each step is printed
                std::this_thread::sleep_for(std::chrono::milliseconds{1});
            if (board.current()->find("cancelled")->getBool())
                break;
        }
        mailbox.post([id] { model::getContextProvider(id)->setPropertyValue("state", "stopped"); });
    });

    while (job->getPropertyValue("state") == "running") {
        {
            std::unique_lock lock{mutex};
            condition.wait(lock, [&] { return isDue; });
            isDue = false;
        }
        mailbox.drain();
    }
    worker.join();
    std::cout << "snapshot " << board.current()->number() << '\n';
}
