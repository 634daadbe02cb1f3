// SPDX-License-Identifier: Apache-2.0

#include "support/hosts.h"

#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

namespace tessivar::testing {
namespace {

bool succeeds(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

void run(const std::string& command) {
  if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

std::string last_octet(const std::string& host) {
  return host == "a" ? "1" : "2";
}

}  // namespace

bool Hosts::permitted() {
  const std::string name = "tessivar-try-" + std::to_string(::getpid());
  return succeeds("ip netns add " + name) && succeeds("ip netns exec " + name + " true") &&
         succeeds("ip netns del " + name);
}

Hosts::Hosts(std::vector<std::string> networks) : networks_(std::move(networks)) {
  for (const char* host : {"a", "b"})
    run("ip netns add " + space(host) + " && ip -n " + space(host) + " link set lo up");
  for (std::size_t i = 0; i < networks_.size(); ++i) {
    const std::string& network = networks_[i];
    run("ip link add " + network + " netns " + space("a") + " type veth peer name " + network + " netns " + space("b"));
    for (const char* host : {"a", "b"}) {
      const std::string ip = "ip -n " + space(host);
      run(ip + " addr add 10.90." + std::to_string(i) + '.' + last_octet(host) + "/24 dev " + network + " && " + ip +
          " link set " + network + " up");
    }
  }
}

Hosts::~Hosts() {
  for (const char* host : {"a", "b"}) succeeds("ip netns del " + space(host));
}

std::vector<std::string> Hosts::on(const std::string& host, const std::vector<std::string>& environment) const {
  std::string allowed;
  for (const std::string& network : networks_) allowed += (allowed.empty() ? "" : ",") + network;
  std::vector<std::string> words = {"/usr/bin/env", "DDS_ALLOWED_INTERFACES=" + allowed};
  words.insert(words.end(), environment.begin(), environment.end());
  for (const std::string& word : {std::string("ip"), std::string("netns"), std::string("exec"), space(host)}) {
    words.push_back(word);
  }
  return words;
}

std::string Hosts::addresses(const std::string& host) const {
  std::string list;
  for (std::size_t i = 0; i < networks_.size(); ++i) {
    list += (i > 0 ? "," : "") + ("10.90." + std::to_string(i) + '.' + last_octet(host));
  }
  return list;
}

void Hosts::cut(const std::string& network) const {
  run("ip -n " + space("b") + " link set " + network + " down");
}

void Hosts::heal(const std::string& network) const {
  run("ip -n " + space("b") + " link set " + network + " up");
}

std::string Hosts::space(const std::string& host) const {
  return "tessivar-" + std::to_string(::getpid()) + '-' + host;
}

}  // namespace tessivar::testing
