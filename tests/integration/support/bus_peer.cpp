// SPDX-License-Identifier: Apache-2.0

#include "support/bus_peer.h"

namespace tessivar::testing {
namespace {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

std::vector<std::string> command_line(const std::string& role, const std::vector<std::string>& options,
                                      std::vector<std::string> words) {
  words.insert(words.end(), {TESSIVAR_BUS_PEER, role, std::to_string(own_domain())});
  words.insert(words.end(), options.begin(), options.end());
  return words;
}

}  // namespace

ChildProcess example(const std::string& name, const std::vector<std::string>& arguments) {
  std::vector<std::string> words = {TESSIVAR_EXAMPLES "/" + name, std::to_string(own_domain())};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return ChildProcess(words, "");
}

BusPeer::BusPeer(const std::string& role, const std::vector<std::string>& options,
                 const std::vector<std::string>& launcher)
    : ChildProcess(command_line(role, options, launcher)) {
  EXPECT_TRUE(sees("ready"));
}

AssertionResult BusPeer::failure(const std::string& what) const {
  constexpr std::size_t shown = 20000;
  const std::string text = transcript();
  return AssertionFailure() << what << "; its output ends:\n"
                            << (text.size() > shown ? text.substr(text.size() - shown) : text);
}

AssertionResult BusPeer::does(const std::string& command) {
  begin(command);
  return did(command.substr(0, command.find(' ')));
}

AssertionResult BusPeer::does(std::initializer_list<std::string> commands) {
  AssertionResult result = AssertionSuccess();
  for (auto command = commands.begin(); result && command != commands.end(); ++command) result = does(*command);
  return result;
}

AssertionResult BusPeer::did(const std::string& verb) {
  const auto result = event("did " + verb + ' ');
  if (!result) return failure(verb + " did not end");
  if (!result->ends_with(" ok")) return failure(verb + " failed");
  return AssertionSuccess();
}

AssertionResult BusPeer::sees(const std::string& prefix, std::chrono::milliseconds timeout) {
  if (event(prefix, timeout)) return AssertionSuccess();
  return failure("it did not see '" + prefix + "'");
}

AssertionResult BusPeer::sees(std::initializer_list<std::string> prefixes) {
  AssertionResult result = AssertionSuccess();
  for (auto prefix = prefixes.begin(); result && prefix != prefixes.end(); ++prefix) result = sees(*prefix);
  return result;
}

AssertionResult BusPeer::saw_nothing_of(const std::string& prefix) {
  const auto found = events(prefix);
  if (found.empty()) return AssertionSuccess();
  return failure("it saw '" + found.front() + "'");
}

AssertionResult BusPeer::quits() {
  send("quit");
  const auto code = wait();
  if (code == 0) return AssertionSuccess();
  return failure(code ? "it ended with " + std::to_string(*code) : "it did not end");
}

}  // namespace tessivar::testing
