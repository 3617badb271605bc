#pragma once

#include <chrono>
#include <cstddef>

namespace workbench {

/// A progress bar on the terminal's last line; nothing if the output goes elsewhere.
class Progress {
public:
    Progress(std::size_t total, bool wanted);
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;
    ~Progress();   ///< erases the bar

    void advance();

private:
    void draw();

    std::size_t total;
    bool visible;
    std::size_t done = 0;
    std::chrono::steady_clock::time_point due;
};

}   // namespace workbench
