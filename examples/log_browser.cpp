// SPDX-License-Identifier: Apache-2.0
// Requests the messages of units from a history and prints them, page by page. Usage: log_browser DOMAIN UNIT…
#include "tessivar/tessivar.h"

#include <iostream>

using namespace TessivarDDS;
using namespace Tessivar_Logging;

typedef DDSRequestReplyNode<LogMessage2Request, LogMessage2Reply> HistoryNode;

class Browser : public RequestReplyNodeClientListener {
 public:
  explicit Browser(HistoryNode& node) : node_(node) {}

  /// The ticket gets several replies. The calls come on the node's thread.
  void ticketChanged(unsigned short ticketId) override {
    HistoryNode::Ticket ticket = node_.findTicket(ticketId);
    if (!ticket) return;
    const DDSPtr<LogMessage2Reply> page = ticket->reply;
    std::cout << "a page of " << page->messages.length() << (page->finished ? ", the last:" : ":") << std::endl;
    for (DDS_Long i = 0; i < page->messages.length(); ++i) {
      const LogMessage2& message = page->messages[i];
      std::cout << "  " << message.address << " " << message.header << ": " << message.value << std::endl;
    }
    if (page->finished) finished_.signal();
  }
  bool waitForLastPage(int milliseconds) { return finished_.wait(milliseconds); }

 private:
  HistoryNode& node_;
  TessivarEvent finished_;
};

int main(int argc, char** argv) {
  if (argc < 3) std::cerr << "usage: " << argv[0] << " DOMAIN UNIT..." << std::endl;
  if (argc < 3) return 2;
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(argc > 1 ? std::atoi(argv[1]) : 0);
  HistoryNode node(true);
  Browser browser(node);
  node.attachListener(&browser);
  if (!node.create(LOGGING2_TOPIC, domain.get())) return 1;

  DDSPtr request = node.createRequest();
  request->addresses.length(argc - 2);
  for (int i = 2; i < argc; ++i) DDS_String_replace(&request->addresses[i - 2], argv[i]);
  const bool finished = node.waitForMatch(10000) && node.makeRequest(request) && browser.waitForLastPage(10000);
  if (!finished) std::cerr << "no history answers" << std::endl;
  node.cleanUp();
  return finished ? 0 : 1;
}
