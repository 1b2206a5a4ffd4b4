#include "common/FakeTool.h"

#include <fstream>
#include <sstream>

namespace vorn::testing {

namespace {

// Arguments are recorded parted by this byte, one call a line.
constexpr char kArgumentEnd = '\037';

std::string quoted(const std::filesystem::path& path) {
    std::string text = "'";
    for (char character : path.string()) {
        if (character == '\'') {
            text += "'\\''";
        } else {
            text += character;
        }
    }
    return text + "'";
}

void writeFile(const std::filesystem::path& file, std::string_view contents) {
    std::ofstream(file, std::ios::binary | std::ios::trunc)
        .write(contents.data(), static_cast<std::streamsize>(contents.size()));
}

}  // namespace

FakeTool::FakeTool(const std::filesystem::path& folder, std::string_view name)
    : folder(folder / (std::string(name) + ".d")),
      script(folder / name),
      log(this->folder / "calls") {
    std::filesystem::create_directories(this->folder);
    writeFile(log, "");
    writeScript();
}

FakeTool& FakeTool::on(std::string word, Answer answer) {
    rules.emplace_back(std::move(word), std::move(answer));
    writeScript();
    return *this;
}

std::vector<std::vector<std::string>> FakeTool::calls() const {
    std::vector<std::vector<std::string>> calls;
    std::ifstream stream(log, std::ios::binary);
    std::string line;
    while (std::getline(stream, line)) {
        std::vector<std::string> arguments;
        std::string argument;
        std::istringstream pieces(line);
        while (std::getline(pieces, argument, kArgumentEnd))
            arguments.push_back(argument);
        calls.push_back(std::move(arguments));
    }
    return calls;
}

void FakeTool::writeScript() const {
    std::string text = "#!/bin/sh\n";
    text +=
        "for argument in \"$@\"; do printf '%s\\037' \"$argument\"; done >> " + quoted(log) + "\n";
    text += "printf '\\n' >> " + quoted(log) + "\n";
    text +=
        "has() { word=$1; shift; for argument in \"$@\"; do "
        "[ \"$argument\" = \"$word\" ] && return 0; done; return 1; }\n";
    for (size_t index = 0; index < rules.size(); ++index) {
        const auto& [word, answer] = rules[index];
        const auto out = folder / ("answer-" + std::to_string(index) + ".out");
        const auto err = folder / ("answer-" + std::to_string(index) + ".err");
        const auto wordFile = folder / ("answer-" + std::to_string(index) + ".word");
        writeFile(out, answer.stdout);
        writeFile(err, answer.stderr);
        writeFile(wordFile, word);
        text += "if has \"$(cat " + quoted(wordFile) + ")\" \"$@\"; then cat " + quoted(out) +
                "; cat " + quoted(err) + " >&2; exit " + std::to_string(answer.status) + "; fi\n";
    }
    text += "exit 0\n";
    writeFile(script, text);
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
}

}  // namespace vorn::testing
