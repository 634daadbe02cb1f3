// SPDX-License-Identifier: Apache-2.0

// Tests that the IDL of each module describes the same types as the tables.
#include "tessivar/types/command/command.h"
#include "tessivar/types/logging/logging.h"
#include "tests/support/source_file.h"
#include "tests/types/support/any_type.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace types_test {
namespace {

typedef std::vector<std::pair<const char*, const char*>> Constants;

std::string module_text(std::string_view room, const std::string& module, const Constants& constants) {
  std::string text = "module " + module + " {\n";
  if (!constants.empty()) text += '\n';
  for (const auto& [name, value] : constants) text += std::string("  const string ") + name + " = \"" + value + "\";\n";
  for (const AnyType& type : all_types())
    if (type.room == room) text += '\n' + tessivar::platform::to_idl(*type.plugin->type_code);
  return text + "\n};\n";
}

/// Returns the text from the line where the module begins.
std::string idl_file(const std::string& name) {
  std::ifstream file(tessivar::testing::source_file("tessivar/types/" + name + "/" + name + ".idl"));
  std::stringstream text;
  text << file.rdbuf();
  const std::size_t module = text.str().find("\nmodule ");
  return module == std::string::npos ? "" : text.str().substr(module + 1);
}

TEST(IdlTest, MatchesTheTablesOfEveryModule) {
  using namespace Tessivar;
  using namespace Tessivar_Logging;
  EXPECT_EQ(idl_file("core"), module_text("core", "Tessivar", {}));
  EXPECT_EQ(idl_file("command"), module_text("command", "Tessivar",
                                             {{"COMMANDS_TOPIC", COMMANDS_TOPIC},
                                              {"METADATA_TOPIC", METADATA_TOPIC},
                                              {"INTERESTS_TOPIC", INTERESTS_TOPIC},
                                              {"UNITS_TOPIC", UNITS_TOPIC}}));
  EXPECT_EQ(idl_file("routing"), module_text("routing", "Tessivar_Routing", {}));
  EXPECT_EQ(idl_file("logging"), module_text("logging", "Tessivar_Logging",
                                             {{"LOGGING_TOPIC", LOGGING_TOPIC},
                                              {"LOGGING2_TOPIC", LOGGING2_TOPIC},
                                              {"LOGGING_UNITS_TOPIC", LOGGING_UNITS_TOPIC},
                                              {"LOGGING_UNIT_MASKS_TOPIC", LOGGING_UNIT_MASKS_TOPIC},
                                              {"LOGGING_HEADER_MASKS_TOPIC", LOGGING_HEADER_MASKS_TOPIC},
                                              {"LOGGING_EX_TOPIC", LOGGING_EX_TOPIC},
                                              {"LOGGING_EX2_TOPIC", LOGGING_EX2_TOPIC},
                                              {"LOGGING_ACKS_TOPIC", LOGGING_ACKS_TOPIC}}));
}

}  // namespace
}  // namespace types_test
