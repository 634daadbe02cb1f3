// SPDX-License-Identifier: Apache-2.0

// The runners that the thread of a request/reply node executes for each of its readers.
#pragma once

#include "tessivar/framework/waitset/wait_set_thread_runner.h"

namespace TessivarDDS {

template <class Req, class Rep>
class TESSIVAR_API DDSRequestReplyNode;
template <class Value, class Req, class Rep>
class TESSIVAR_API DDSRequestReply;

/// Takes requests or replies and passes them to the node.
template <class Sample, class Req, class Rep>
class TESSIVAR_API RequestReplyCoreWaitsetThreadRunner : public WaitSetThreadRunner<Sample> {
 public:
  RequestReplyCoreWaitsetThreadRunner(DDSRequestReplyNode<Req, Rep>& node,
                                      typename WaitSetThreadRunner<Sample>::TDataReader* reader)
      : WaitSetThreadRunner<Sample>(reader, {.maxSamples = samplesPerCycle, .sampleStateMask = DDS_ANY_SAMPLE_STATE}),
        node_(node) {}

  using WaitSetThreadRunner<Sample>::processSample;
  void processSample(const Sample& sample, const DDS_SampleInfo& info) override { node_.dispatch(sample, info); }

 private:
  DDSRequestReplyNode<Req, Rep>& node_;
};

/// Reads values and passes them to the node. The values stay in the reader for queries.
template <class Sample, class Value, class Req, class Rep>
class TESSIVAR_API RequestReplyWaitsetThreadRunner : public WaitSetThreadRunner<Sample> {
 public:
  RequestReplyWaitsetThreadRunner(DDSRequestReply<Value, Req, Rep>& node,
                                  typename WaitSetThreadRunner<Sample>::TDataReader* reader)
      : WaitSetThreadRunner<Sample>(reader, {.maxSamples = samplesPerCycle, .take = false, .everyChange = true}),
        node_(node) {}

  using WaitSetThreadRunner<Sample>::processSample;
  void processSample(const Sample& sample, const DDS_SampleInfo& info) override { node_.dispatchValue(sample, info); }
  void processInvalidSample(const DDS_SampleInfo& info) override { node_.dispatchRemoval(*this->typedReader(), info); }

 private:
  DDSRequestReply<Value, Req, Rep>& node_;
};

}  // namespace TessivarDDS
