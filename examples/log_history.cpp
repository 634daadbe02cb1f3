// SPDX-License-Identifier: Apache-2.0
// Keeps the last 50 messages that units log and sends them on request, 20 at a time. Usage: log_history [DOMAIN]
#include "tessivar/tessivar.h"

#include <deque>
#include <iostream>
#include <set>

using namespace TessivarDDS;
using namespace Tessivar_Logging;

constexpr int kept = 50, pageSize = 20;

struct History : WaitSetThreadRunner<LogMessage2>, RequestReplyServerListener<LogMessage2Request, LogMessage2Reply> {
  using RequestReplyServerListener::processRequest;
  using WaitSetThreadRunner::processSample, WaitSetThreadRunner::WaitSetThreadRunner;

  void processSample(const LogMessage2& message) override {
    if (messages.size() == kept) messages.pop_front();
    LogMessage2TypeSupport::copy_data(messages.emplace_back(LogMessage2TypeSupport::create_data()).get(), &message);
    std::cout << "messages kept: " << messages.size() << std::endl;
  }
  LogMessage2Reply* processRequest(const LogMessage2Request* request) override {
    std::set<AddressEx> wanted;
    for (DDS_Long i = 0; i < request->addresses.length(); ++i) wanted.insert(request->addresses[i]);
    auto* page = LogMessage2ReplyTypeSupport::create_data();
    for (const auto& message : messages) {
      if (!wanted.contains(message->address)) continue;
      if (page->messages.length() == pageSize) {
        node.sendReply(page, *request);
        page = LogMessage2ReplyTypeSupport::create_data();
      }
      page->messages.length(page->messages.length() + 1);
      LogMessage2TypeSupport::copy_data(&page->messages[page->messages.length() - 1], message.get());
    }
    page->finished = DDS_BOOLEAN_TRUE;
    return page;
  }

  std::deque<DDSPtr<LogMessage2>> messages;
  DDSRequestReplyNode<LogMessage2Request, LogMessage2Reply> node{false};
};

int main(int argc, char** argv) {
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(argc > 1 ? std::atoi(argv[1]) : 0);
  DDS_TopicQos qos;
  createReliableDurableTopicQos(domain.get(), LOGGING2_TOPIC, qos);
  qos.history.depth = kept;
  DDSPtr stream(DDSNode<LogMessage2>::create(domain.get(), LOGGING2_TOPIC, qos, true));
  WaitSetThread thread("history");
  History history(stream ? stream->dataReader() : nullptr);
  history.node.setListener(&history);
  history.node.setWaitSetThread(&thread);  // one thread handles messages and requests: no lock is needed
  if (!thread.create() || !thread.attachRunner(&history, false) || !history.node.create(LOGGING2_TOPIC, domain.get()))
    return 1;
  std::cin.get();
  history.node.cleanUp();
  thread.stop();
}
