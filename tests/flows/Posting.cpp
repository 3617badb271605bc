#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/host/Board.h"
#include "studio/host/Mailbox.h"

#include <atomic>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// Eight threads post to a mailbox and two read a board, while the owner's thread drains, and closes the mailbox in
// mid-flight. What was accepted has run, once and in order, and nothing else has. Run under a thread sanitizer.

using namespace studio;

int main()
{
    constexpr int posters = 8;
    constexpr int postsEach = 1'000;
    constexpr int closedAfter = 2'000;   // of 8,000 functions

    auto const context = data::ContextProvider::create();
    context->addProperty("sum", 0);
    std::vector<std::string> names{"sum"};
    for (int i = 0; i != posters; ++i) {
        names.push_back("last" + std::to_string(i));
        context->addProperty(names.back(), 0);
    }
    data::ExpressionEngine engine{context, data::ReleasePolicy::KeepsShared};
    host::Board const board{engine, names};

    std::mutex mutex;
    std::condition_variable condition;
    bool isAwake = false;
    auto const wake = [&] {
        std::lock_guard const lock{mutex};
        isAwake = true;
        condition.notify_one();
    };
    int failed = 0;
    host::Mailbox mailbox{wake, [&](host::Failure const&) { ++failed; }};

    std::atomic<int> wrong = 0;
    std::vector<int> ran(posters);   // the number of the last function of each thread; on the owner's thread
    std::vector<int> accepted(posters);
    std::vector<int> written(posters);
    auto const post = [&](std::size_t own) {
        for (int i = 1; i <= postsEach; ++i) {
            auto const task = [&, own, i] {
                wrong += ran[own] + 1 != i;
                ran[own] = i;
                context->setPropertyValue("sum", context->getPropertyValue("sum").getDouble() + 1);
                if (i % 10 == 0)
                    throw std::runtime_error{"undone"};
            };
            if (!mailbox.post(task))
                return;
            accepted[own] = i;
            if (!mailbox.write(context->getId(), names[own + 1], i))
                return;
            written[own] = i;
        }
    };
    std::atomic<bool> isOver = false;
    auto const read = [&] {
        std::shared_ptr<host::Snapshot const> before = board.current();
        while (!isOver) {
            std::shared_ptr<host::Snapshot const> const now = board.current();
            wrong += now->number() < before->number();
            for (auto const& [text, value] : *now)
                wrong += value.getDouble() < before->find(text)->getDouble();
            before = now;
            std::this_thread::yield();
        }
    };

    std::vector<std::thread> threads;
    for (std::size_t i = 0; i != posters; ++i)
        threads.emplace_back(post, i);
    std::thread readers[]{std::thread{read}, std::thread{read}};
    auto const count = [&] { return std::accumulate(ran.begin(), ran.end(), 0); };
    while (count() < closedAfter) {
        {
            std::unique_lock lock{mutex};
            condition.wait(lock, [&] { return isAwake; });
            isAwake = false;
        }
        mailbox.drain(64);
    }
    mailbox.close();
    for (std::thread& thread : threads)
        thread.join();
    while (mailbox.drain() != 0) {}
    isOver = true;
    for (std::thread& reader : readers)
        reader.join();

    wrong += ran != accepted;
    wrong += *board.current()->find("sum") != data::PropertyValue{count() - failed};
    for (std::size_t i = 0; i != posters; ++i)
        wrong += *board.current()->find(names[i + 1]) != data::PropertyValue{written[i]};
    std::cout << (wrong == 0 ? "posted once and in order\n" : "posted otherwise\n");
    return wrong != 0;
}
