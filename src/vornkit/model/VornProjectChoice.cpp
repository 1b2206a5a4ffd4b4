#include "model/VornProjectChoice.h"

#include <simdjson.h>

namespace vorn {

namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

std::optional<std::string> requiredString(object fields, std::string_view key) {
    std::string_view text;
    if (fields[key].get_string().get(text) != simdjson::SUCCESS) return std::nullopt;
    return std::string(text);
}

// Absent and null both leave the field out; a value of another type spoils
// the whole document, as it would for a strict decoder.
bool readOptionalString(object fields, std::string_view key, std::optional<std::string>& field) {
    element value;
    if (fields[key].get(value) != simdjson::SUCCESS || value.is_null()) return true;
    std::string_view text;
    if (value.get_string().get(text) != simdjson::SUCCESS) return false;
    field = std::string(text);
    return true;
}

std::optional<VornProjectChoice> decodeChoice(element value) {
    object fields;
    if (value.get_object().get(fields) != simdjson::SUCCESS) return std::nullopt;
    VornProjectChoice choice;
    auto id = requiredString(fields, "id");
    auto name = requiredString(fields, "name");
    if (!id || !name || fields["current"].get_bool().get(choice.current) != simdjson::SUCCESS ||
        !readOptionalString(fields, "issuePrefix", choice.issuePrefix)) {
        return std::nullopt;
    }
    choice.id = std::move(*id);
    choice.name = std::move(*name);
    return choice;
}

struct RouteProjects {
    std::string route;
    std::vector<VornProjectChoice> projects;
};

std::optional<RouteProjects> decodeRoute(element value) {
    object fields;
    array projects;
    auto route = value.get_object().get(fields) == simdjson::SUCCESS
                     ? requiredString(fields, "route")
                     : std::nullopt;
    if (!route || fields["projects"].get_array().get(projects) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    RouteProjects decoded{std::move(*route), {}};
    for (const element project : projects) {
        auto choice = decodeChoice(project);
        if (!choice) return std::nullopt;
        decoded.projects.push_back(std::move(*choice));
    }
    return decoded;
}

}  // namespace

std::optional<std::vector<VornProjectChoice>> VornProjectChoice::parse(std::string_view output,
                                                                       std::string_view route) {
    const size_t start = output.find('{');
    if (start == std::string_view::npos) return std::nullopt;
    simdjson::dom::parser parser;
    element document;
    array routes;
    if (parser.parse(output.substr(start)).get(document) != simdjson::SUCCESS ||
        document["routes"].get_array().get(routes) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    // Every entry must decode, the asked route's or not.
    std::optional<std::vector<VornProjectChoice>> found;
    for (const element entry : routes) {
        auto decoded = decodeRoute(entry);
        if (!decoded) return std::nullopt;
        if (!found && decoded->route == route) found = std::move(decoded->projects);
    }
    return found;
}

}  // namespace vorn
