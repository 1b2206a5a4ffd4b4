#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vorn {

// The program's one entry: `--probe`, at any position, prints the headless
// report and exits; anything else starts the application.
struct Entry {
    static int main(int argc, char** argv);

    static bool wantsProbe(const std::vector<std::string>& arguments);

    // Runs `job` on a background thread while this thread waits, waking at
    // least every 50 ms and at once when the job ends. Returns its status.
    static int runBlocking(const std::function<int()>& job);

  private:
    static int runProbe();
    static int startApplication(int argc, char** argv);
};

}  // namespace vorn
