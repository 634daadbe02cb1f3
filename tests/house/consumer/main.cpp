// SPDX-License-Identifier: Apache-2.0

// A minimal program of an application: makes a sample and encodes it. It starts no participant.
#include "tessivar/tessivar.h"

#include <cstdio>
#include <vector>

int main() {
  using namespace TessivarDDS;
  const DDSPtr<Tessivar::Command> command(TessivarMessageHelper::createCommand(AddressEx("0001:02:00"), 7, 42));
  unsigned int size = 0;
  if (!Tessivar::CommandPlugin_serialize_to_cdr_buffer(nullptr, &size, command.get())) return 1;
  std::vector<char> encoding(size);
  if (!Tessivar::CommandPlugin_serialize_to_cdr_buffer(encoding.data(), &size, command.get())) return 1;
  const Version running = version();
  if (running.abiNumber != TESSIVAR_ABI_NUMBER || running.minorNumber != TESSIVAR_VERSION_MINOR) return 1;
  TessivarClient client;
  std::printf("TessivarDDS %s; a command of %u octets; a client that is %s\n", running.text, size,
              client.services() ? "running" : "not there");
  return 0;
}
