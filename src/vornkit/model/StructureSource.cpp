#include "model/StructureSource.h"

#include "support/Overloaded.h"

namespace vorn {

std::string StructureSource::description() const {
    return std::visit(Overloaded{
                          [](const StatusJSON& json) {
                              return "vorn status --json (v" + std::to_string(json.version) + ")";
                          },
                          [](const ParsedYAML& yaml) {
                              return "parsed vorn.yaml — " +
                                     yaml.reason.value_or("status --json unavailable");
                          },
                          [](const Unknown&) { return std::string("unknown"); },
                      },
                      source);
}

}  // namespace vorn
