// SPDX-License-Identifier: Apache-2.0

// The four endpoints through which devices and controllers meet.
#pragma once

#include "tessivar/control/metadata_node.h"
#include "tessivar/framework/nodes/dds_filtered_node.h"
#include "tessivar/framework/nodes/dds_node.h"
#include "tessivar/framework/pointers/detail/atomic_owner.h"
#include "tessivar/framework/report/report.h"
#include "tessivar/framework/requestreply/tessivar_request_reply_service.h"
#include "tessivar/framework/sync/detail/use_gate.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/command/command.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace TessivarDDS {

class DDSDomain;
class ReportBook;

/// Makes and owns the nodes of units, commands, metadata and interests for one side of the bus, device or client.
///
/// Any thread may call any operation at any time, and the nodes' readers and writers are thread-safe. create(),
/// start() and cleanUp() wait for each other. The nodes themselves are not to be used any more while another thread is
/// in create() or cleanUp(). Creating and cleaning up block for some milliseconds, cleaning up on a bus that does not
/// acknowledge for longer. Every failure is one log line and false. Owned by TessivarNode and TessivarClient;
/// applications rarely need it.
class TESSIVAR_API TessivarServices {
 public:
  TessivarServices();
  /// Keeps the figures for report() in `book`, for an owner whose report outlives the services.
  explicit TessivarServices(std::shared_ptr<ReportBook> book);
  /// As cleanUp().
  virtual ~TessivarServices();
  TessivarServices(const TessivarServices&) = delete;
  TessivarServices& operator=(const TessivarServices&) = delete;

  /// Before create(). Not owned: it must outlive the nodes, that is, be released after cleanUp(). Refused with one line
  /// while another thread creates or cleans up, as setUseQosProfiles() is.
  void attachDomain(DDSDomain* domain);

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
  /// Starts the thread of the command service, once everything is made. Refused within a callback.
  void start();
  /// Deletes the nodes; the domain stays attached. Refused within a callback.
  void cleanUp();
  /// Returns true on a thread that is inside a callback of the bus or of the command service.
  bool inCallback() const;

  // True when the node exists with the reader or writer that this side uses; otherwise one log line says what is
  // missing. While another thread creates or cleans up, everything is.
  bool verifyUnitNode() const { return verify(Part::unit); }
  bool verifyCommandNode() const { return verify(Part::command); }
  bool verifyMetadataNode() const { return verify(Part::metadata); }
  bool verifyInterestsNode() const { return verify(Part::interests); }

  /// What has passed through the nodes. Empty without them. Any thread and callback; never blocks.
  Report report() const;

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
  friend class TessivarClient;
  friend class TessivarNode;

  enum class Part { unit, command, metadata, interests };
  /// What verifyUnitNode() and its siblings do.
  bool verify(Part part) const;
  /// The same while no other thread can be in create() or cleanUp().
  bool has(Part part) const;
  /// The rest of create() and cleanUp(), with the gate closed.
  bool build(const char* signature, const std::vector<std::string>& filterAddresses);
  void takeDown();
  void startThread();

  std::atomic<DDSDomain*> domain_{nullptr};
  const std::shared_ptr<ReportBook> book_;
  UseGate gate_;  // closed while the nodes change
  AtomicOwner<TessivarRequestReplyService> commandService_;
  AtomicOwner<DDSNode<Tessivar::Unit>> unitNode_;
  AtomicOwner<MetadataNode> metadataNode_;
  AtomicOwner<DDSFilteredNode<Tessivar::CommandInterest>> interestsNode_;
  std::atomic<const WaitSetThread*> commandThread_{nullptr};  // only compared
  std::atomic<bool> isClient_{true};
  std::atomic<bool> autoStartThread_{true};
  std::atomic<bool> useQosProfiles_{false};
};

}  // namespace TessivarDDS
