// The four endpoints through which devices and controllers meet.
#pragma once

#include "tessivar/control/metadata_node.h"
#include "tessivar/framework/nodes/dds_filtered_node.h"
#include "tessivar/framework/nodes/dds_node.h"
#include "tessivar/framework/report/report.h"
#include "tessivar/framework/requestreply/tessivar_request_reply_service.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/command/command.h"

#include <memory>
#include <string>
#include <vector>

namespace TessivarDDS {

class DDSDomain;
class ReportBook;

/// Makes and owns the nodes of units, commands, metadata and interests for one side of the bus, device or client.
///
/// Create, verify and clean up on one thread at a time; the nodes' readers and writers are thread-safe. Creating and
/// cleaning up block for some milliseconds, cleaning up on a bus that does not acknowledge for longer. Every failure is
/// one log line and false. Owned by TessivarNode and TessivarClient; applications rarely need it.
class TESSIVAR_API TessivarServices {
 public:
  TessivarServices();
  /// As cleanUp().
  virtual ~TessivarServices();
  TessivarServices(const TessivarServices&) = delete;
  TessivarServices& operator=(const TessivarServices&) = delete;

  /// Before create(). Not owned: it must outlive the nodes, that is, be released after cleanUp().
  void attachDomain(DDSDomain* domain) { domain_ = domain; }

  /// Whether create() starts the thread of the command service; initially true. Without it, attach listeners to the
  /// service and call start(): no value and no request is then missed.
  void setAutoStartThread(bool start) { autoStartThread_ = start; }

  /// Whether every topic, reader and writer gets its QoS from the profiles of "tessivar_Library" and "requestReplyLib",
  /// where a file of the user may override them. Initially false: units and metadata use profiles, all others built-in
  /// QoS. Before create(); later it is refused with one line.
  void setUseQosProfiles(bool use);

  /// Makes all nodes. `filterAddresses`: the texts of the units whose requests, interests, values and metadata get
  /// through, from the first moment; none means all. A second call takes everything down and builds it again. After a
  /// failure what was built stays until cleanUp() or the next create().
  bool create(bool isClient, const std::vector<std::string>& filterAddresses);
  /// Starts the thread of the command service, once everything is made.
  void start();
  /// Deletes the nodes; the domain stays attached. Refused within a callback.
  void cleanUp();
  /// Returns true on a thread that is inside a callback of the bus or of the command service.
  bool inCallback() const;

  // True when the node exists with the reader or writer that this side uses; otherwise one log line says what is
  // missing.
  bool verifyUnitNode() const;
  bool verifyCommandNode() const;
  bool verifyMetadataNode() const;
  bool verifyInterestsNode() const;

  /// What has passed through the nodes. Empty without them. Any thread and callback; never blocks.
  Report report() const;
  /// Keeps the figures for report() in `book` instead of one of its own. Before create(); for an owner whose report
  /// outlives the services.
  void setReportBook(std::shared_ptr<ReportBook> book) { book_ = std::move(book); }

  // Owned; null until created. Not valid any more after cleanUp() or the next create().
  DDSDomain* domain() const { return domain_; }
  TessivarRequestReplyService* commandService() const { return commandService_.get(); }
  DDSNode<Tessivar::Unit>* unitNode() const { return unitNode_.get(); }
  MetadataNode* metadataNode() const { return metadataNode_.get(); }
  DDSFilteredNode<Tessivar::CommandInterest>* interestsNode() const { return interestsNode_.get(); }

 protected:
  // The steps of create(), in its order. Each refuses when its node exists.
  bool createUnitNode();
  bool createCommandService(const std::vector<std::string>& filterAddresses);
  bool createMetadataNode(const std::vector<std::string>& filterAddresses);
  bool createInterestsNode(const std::vector<std::string>& filterAddresses = {});

 private:
  DDSDomain* domain_ = nullptr;
  std::shared_ptr<ReportBook> book_;
  std::unique_ptr<TessivarRequestReplyService> commandService_;
  std::unique_ptr<DDSNode<Tessivar::Unit>> unitNode_;
  std::unique_ptr<MetadataNode> metadataNode_;
  std::unique_ptr<DDSFilteredNode<Tessivar::CommandInterest>> interestsNode_;
  bool isClient_ = true;
  bool autoStartThread_ = true;
  bool useQosProfiles_ = false;
};

}  // namespace TessivarDDS
