// SPDX-License-Identifier: Apache-2.0

// The four topic nodes that devices and controllers communicate with.
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
/// Any thread may call any function at any time, and the nodes' readers and writers are thread-safe. create(), start()
/// and cleanUp() wait for each other. Do not use the nodes while another thread is in create() or cleanUp(). create()
/// and cleanUp() block for some milliseconds; cleanUp() blocks longer if samples are not acknowledged. Every failure
/// logs one line and returns false. TessivarNode and TessivarClient own their services; applications rarely need them.
class TESSIVAR_API TessivarServices {
 public:
  TessivarServices();
  /// Stores the counts for report() in `book`, for an owner whose report outlives the services.
  explicit TessivarServices(std::shared_ptr<ReportBook> book);
  /// Calls cleanUp().
  virtual ~TessivarServices();
  TessivarServices(const TessivarServices&) = delete;
  TessivarServices& operator=(const TessivarServices&) = delete;

  /// Call it before create(). The services do not own the domain: it must outlive the nodes, so release it after
  /// cleanUp(). While another thread creates or cleans up, attachDomain() and setUseQosProfiles() are refused with one
  /// log line.
  void attachDomain(DDSDomain* domain);

  /// If `start` is true, create() starts the thread of the command service. Initially true. If it is false, attach
  /// listeners to the service and then call start(), so that the listeners miss no value and no request.
  void setAutoStartThread(bool start) { autoStartThread_ = start; }

  /// If `use` is true, every topic, reader and writer gets its QoS from the profiles of "tessivar_Library" and
  /// "requestReplyLib"; files of the user may override them. Initially false: units and metadata use profiles, all
  /// others built-in QoS. Call it before create(); later it is refused with one log line.
  void setUseQosProfiles(bool use);

  /// Makes all nodes. `filterAddresses`: the addresses (as text) of the units whose requests, interests, values and
  /// metadata are received, from the beginning; an empty list means all units. A second call deletes all nodes and
  /// makes them again. After a failure the nodes that were made stay until cleanUp() or the next create().
  bool create(bool isClient, const std::vector<std::string>& filterAddresses);
  /// Starts the thread of the command service. Call it after create(). Refused in a callback.
  void start();
  /// Deletes the nodes; the domain stays attached. Refused in a callback.
  void cleanUp();
  /// Returns true on a thread that is inside a callback of the bus or of the command service.
  bool inCallback() const;

  // Return true if the node exists with the reader or writer that this side uses. Otherwise they log what is missing.
  // While another thread creates or cleans up, they return false.
  bool verifyUnitNode() const { return verify(Part::unit); }
  bool verifyCommandNode() const { return verify(Part::command); }
  bool verifyMetadataNode() const { return verify(Part::metadata); }
  bool verifyInterestsNode() const { return verify(Part::interests); }

  /// Counts of samples, requests and replies. Empty without nodes. Any thread and any callback may call it. Never
  /// blocks.
  Report report() const;

  // The services own these objects. They are null before create(), and not valid after cleanUp() or the next create().
  DDSDomain* domain() const { return domain_; }
  TessivarRequestReplyService* commandService() const { return commandService_.get(); }
  DDSNode<Tessivar::Unit>* unitNode() const { return unitNode_.get(); }
  MetadataNode* metadataNode() const { return metadataNode_.get(); }
  DDSFilteredNode<Tessivar::CommandInterest>* interestsNode() const { return interestsNode_.get(); }

 protected:
  // The steps of create(), in its order. Each is refused if its node exists.
  bool createUnitNode();
  bool createCommandService(const std::vector<std::string>& filterAddresses);
  bool createMetadataNode(const std::vector<std::string>& filterAddresses);
  bool createInterestsNode(const std::vector<std::string>& filterAddresses = {});

 private:
  friend class TessivarClient;
  friend class TessivarNode;

  enum class Part { unit, command, metadata, interests };
  /// Implements verifyUnitNode(), verifyCommandNode(), verifyMetadataNode() and verifyInterestsNode().
  bool verify(Part part) const;
  /// The same, for callers that know that no other thread is in create() or cleanUp().
  bool has(Part part) const;
  /// The parts of create() and cleanUp() that run with the gate closed.
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
  std::atomic<const WaitSetThread*> commandThread_{nullptr};  // only compared, never dereferenced
  std::atomic<bool> isClient_{true};
  std::atomic<bool> autoStartThread_{true};
  std::atomic<bool> useQosProfiles_{false};
};

}  // namespace TessivarDDS
