// SPDX-License-Identifier: Apache-2.0

// bus_peer device|client|router DOMAIN [type=N] [allow=N,…]: one process on the bus. A test sends it
// commands, one in each line.
#include "peer/console.h"
#include "peer/roles.h"
#include "tessivar/framework/domain/dds_domain.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/platform/participant.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using namespace tessivar::testing;
using TessivarDDS::DDSDomain;

Words split(const std::string& line) {
  std::istringstream stream(line);
  return Words(std::istream_iterator<std::string>(stream), {});
}

void create(DDSDomain& domain, int id, const Words& options) {
  DDS_DomainParticipantQos qos;
  DDSDomainParticipantFactory::get_instance()->get_default_participant_qos(qos);
  for (const std::string& option : options) {
    const std::string value = option.substr(option.find('=') + 1);
    if (option.starts_with("type=")) domain.setType(static_cast<unsigned short>(std::stoi(value)));
    if (option.starts_with("allow="))
      DDSPropertyQosPolicyHelper::add_property(qos.property, "tessivarddscore.allowed_participant_types", value.c_str(),
                                               DDS_BOOLEAN_FALSE);
  }
  if (!domain.createDomainParticipant(id, qos, true)) throw std::runtime_error("the domain cannot be created");
}

std::unique_ptr<Role> make_role(const std::string& name, DDSDomain* domain) {
  if (name == "device") return make_device(domain);
  if (name == "client") return make_client(domain);
  if (name == "router") return make_router(domain);
  throw std::runtime_error("no role is called " + name);
}

void serve(Role& role) {
  event("ready");
  for (std::string line; std::getline(std::cin, line);) {
    const Words words = split(line);
    if (words.empty()) continue;
    if (words[0] == "quit") break;
    event("did", words[0], role.perform(words) ? "ok" : "failed");
  }
}

}  // namespace

int main(int argc, char** argv) {
  setenv("DDS_ALLOWED_INTERFACES", "lo", 0);  // other networks only if the environment names them
  install_console();
  try {
    const Words arguments(argv + 1, argv + argc);
    DDSDomain domain;
    create(domain, std::stoi(arguments.at(1)), Words(arguments.begin() + 2, arguments.end()));
    { serve(*make_role(arguments[0], &domain)); }
    domain.cleanUp();
  } catch (const std::exception& exception) {
    event("exception", exception.what());
    return 1;
  }
  event("bye");
  return 0;
}
