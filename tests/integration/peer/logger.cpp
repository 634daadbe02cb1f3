#include "peer/roles.h"
#include "tessivar/framework/domain/topic_qos.h"
#include "tessivar/framework/requestreply/dds_request_reply_node.h"
#include "tessivar/types/logging/logging.h"

#include <atomic>
#include <stdexcept>
#include <string>

namespace tessivar::testing {
namespace {

using namespace TessivarDDS;
using namespace Tessivar_Logging;

class Logger : public Role,
               public RequestReplyNodeClientListener,
               public RequestReplyServerListener<LogMessage2Request, LogMessage2Reply> {
 public:
  explicit Logger(DDSDomain* domain) {
    DDS_TopicQos qos;
    createReliableDurableTopicQos(domain, LOGGING_TOPIC, qos);
    messages_ = DDSPtr(DDSNode<LogMessage>::create(domain, LOGGING_TOPIC, qos, false));
    history_.setRole(RequestReplyRole::Both);
    history_.attachListener(this);
    history_.setListener(this);
    if (!messages_ || !history_.create(LOGGING2_TOPIC, domain)) throw std::runtime_error("no node can be created");
  }
  ~Logger() override { history_.cleanUp(); }

  bool perform(const Words& words) override {
    if (words[0] == "log") return log(words.at(1), words.at(2), words.at(3));
    if (words[0] == "keep") return unit_ = words.at(1), kept_ = number(words.at(2)), true;
    if (words[0] == "browse") return browse(words.at(1));
    return false;
  }

  LogMessage2Reply* processRequest(const LogMessage2Request* request) override {
    auto* page = LogMessage2ReplyTypeSupport::create_data();
    const unsigned kept = kept_;
    const unsigned count = kept > 0 && request->addresses[0] == unit_ ? kept : 0;
    for (unsigned i = 0; i < count; ++i) {
      DDS_Long length = page->messages.length();
      if (length == page->messages.absolute_maximum()) {
        history_.sendReply(page, *request);
        page = LogMessage2ReplyTypeSupport::create_data();
        length = 0;
      }
      page->messages.length(length + 1);
      DDS_String_replace(&page->messages[length].value, std::to_string(i).c_str());
    }
    page->finished = DDS_BOOLEAN_TRUE;
    return page;
  }

  void ticketChanged(unsigned short ticketId) override {
    const auto ticket = history_.findTicket(ticketId);
    if (!ticket) return;
    const DDSPtr<LogMessage2Reply> page = ticket->reply;
    const DDS_Long length = page->messages.length();
    event("page", length, page->finished ? "last" : "more", length > 0 ? page->messages[0].value : "-");
  }

 private:
  bool log(const std::string& unit, const std::string& header, const std::string& text) {
    DDSPtr message(LogMessageTypeSupport::create_data());
    DDS_String_replace(&message->address, unit.c_str());
    DDS_String_replace(&message->header, header.c_str());
    DDS_String_replace(&message->value, text.c_str());
    message->source_timestamp = {1'700'000'000, 5};
    return messages_->writeSample(message);
  }

  bool browse(const std::string& unit) {
    if (!history_.waitForMatch(20000)) return false;
    DDSPtr request = history_.createRequest();
    request->addresses.length(1);
    DDS_String_replace(&request->addresses[0], unit.c_str());
    return static_cast<bool>(history_.makeRequest(request));
  }

  std::string unit_;
  std::atomic<unsigned> kept_{0};  // set after the unit
  DDSPtr<DDSNode<LogMessage>> messages_;
  DDSRequestReplyNode<LogMessage2Request, LogMessage2Reply> history_{false};
};

}  // namespace

std::unique_ptr<Role> make_logger(DDSDomain* domain) {
  return std::make_unique<Logger>(domain);
}

}  // namespace tessivar::testing
