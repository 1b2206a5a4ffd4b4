#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorn::testing {

// A stand-in for an outside command: an executable script that records the
// arguments of every call and answers by the first rule whose word is one
// of them. A call no rule matches prints nothing and exits 0.
class FakeTool {
  public:
    struct Answer {
        std::string stdout;
        std::string stderr;
        int status = 0;
    };

    // The script is `name` in `folder`, which must outlive it.
    FakeTool(const std::filesystem::path& folder, std::string_view name);

    // Calls with `word` among their arguments answer with `answer`; rules
    // are tried in the order given.
    FakeTool& on(std::string word, Answer answer);

    const std::filesystem::path& path() const { return script; }
    // Each call's arguments, oldest call first.
    std::vector<std::vector<std::string>> calls() const;

  private:
    void writeScript() const;

    std::filesystem::path folder;
    std::filesystem::path script;
    std::filesystem::path log;
    std::vector<std::pair<std::string, Answer>> rules;
};

}  // namespace vorn::testing
