// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/log/readable_logger.h"

#include "tessivar/platform/system/calls.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <string_view>

namespace TessivarDDS {
namespace {

const char* nameOf(int level) {
  switch (level) {
    case LogDebug:
      return "debug";
    case LogInfo:
      return "info";
    case LogWarning:
      return "warning";
    case LogError:
      return "error";
    default:
      return nullptr;
  }
}

struct RoomOf {
  std::string_view name;
  const char* room;
};

// Rooms by the beginning of a class name. All other classes belong to the framework.
constexpr RoomOf rooms_of_classes[] = {
    {"TessivarClient", "control"},
    {"TessivarMessageHelper", "control"},
    {"TessivarNode", "control"},
    {"TessivarServices", "control"},
    {"MetadataNode", "control"},
    {"MetadataRunner", "control"},
    {"CommandInterestRunner", "control"},
    {"UnitsRunner", "control"},
    {"Routing", "routing"},
    {"Routers", "routing"},
    {"Sources", "routing"},
    {"Destinations", "routing"},
    {"Associations", "routing"},
};

// Rooms by a part of the context that begins a line without signature. All other lines belong to the application.
constexpr RoomOf rooms_of_contexts[] = {
    {"Seq_", "types"},         {"Plugin_", "types"}, {"TDataWriter", "types"}, {"TDataReader", "types"},
    {"TTypeSupport", "types"}, {"DDS", "platform"},  {"RTI", "platform"},      {"TESSIVAR_", "platform"},
};

struct Parts {
  const char* room;
  std::string_view text;
};

/// Returns the text after the parameter list in `call`. `call` is the name of a function and everything after it.
std::string_view behindParameters(std::string_view call) {
  int angles = 0, parentheses = 0;
  for (std::size_t i = 0; i < call.size(); ++i) {
    const char c = call[i];
    if (c == '<' || c == '>') angles += c == '<' ? 1 : -1;
    if (angles > 0) continue;
    if (c == '(') ++parentheses;
    if (c != ')' || --parentheses > 0) continue;
    std::string_view rest = call.substr(i + 1);
    constexpr std::string_view constant = " const";
    // The text may follow directly, without a blank.
    if (rest.starts_with(constant) &&
        !(rest.size() > constant.size() && std::islower(static_cast<unsigned char>(rest[constant.size()])))) {
      rest.remove_prefix(constant.size());
    }
    return rest;
  }
  return {};
}

Parts partsOf(std::string_view message) {
  constexpr std::string_view convention = "__cdecl ", scope = "TessivarDDS::", engine = "engine: ";
  if (const std::size_t signature = message.find(convention); signature != message.npos) {
    std::string_view call = message.substr(signature + convention.size());
    if (call.starts_with(scope)) call.remove_prefix(scope.size());
    const auto* const found = std::find_if(std::begin(rooms_of_classes), std::end(rooms_of_classes),
                                           [&](const RoomOf& entry) { return call.starts_with(entry.name); });
    const std::string_view text = behindParameters(call);
    return {found == std::end(rooms_of_classes) ? "framework" : found->room, text.empty() ? message : text};
  }
  if (message.starts_with(engine)) return {"engine", message.substr(engine.size())};
  const std::string_view context = message.substr(0, message.find(": "));
  const auto* const found = std::find_if(std::begin(rooms_of_contexts), std::end(rooms_of_contexts),
                                         [&](const RoomOf& entry) { return context.find(entry.name) != context.npos; });
  const bool known = context.size() < message.size() && context.find(' ') == context.npos;
  return {known && found != std::end(rooms_of_contexts) ? found->room : "application", message};
}

/// Appends local time, as "2026-03-01 22:19:03.412 ".
void appendTime(std::string& line) {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  const std::tm local = tessivar::platform::local_time(seconds);
  char text[32];
  line.append(text, std::strftime(text, sizeof text, "%F %T", &local));
  std::snprintf(text, sizeof text, ".%03d ", static_cast<int>(milliseconds));
  line.append(text);
}

}  // namespace

void ReadableLogger::install() {
  setLogger(new ReadableLogger);
}

void ReadableLogger::log(int level, const std::string& message) {
  if (!nameOf(level)) return;
  std::string line;
  appendTime(line);
  line.append(format(level, message)).push_back('\n');
  std::fwrite(line.data(), 1, line.size(),
              stderr);  // a single write, so that output of other processes does not mix with it
}

std::string ReadableLogger::format(int level, const std::string& message) {
  const char* const name = nameOf(level);
  const Parts parts = partsOf(message);
  std::string line(name ? name : "unknown");
  line.append(" ").append(parts.room).append(": ");
  line.append(parts.text.substr(std::min(parts.text.find_first_not_of(' '), parts.text.size())));
  // The message stays on one line, even if a text from a peer contains line breaks.
  std::replace_if(
      line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 127; }, ' ');
  return line;
}

}  // namespace TessivarDDS
