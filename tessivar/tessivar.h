// SPDX-License-Identifier: Apache-2.0

// Includes all public headers. A program that includes only the headers it uses compiles faster.
#pragma once

#include "tessivar/version.h"

// Devices and controllers
#include "tessivar/control/client.h"
#include "tessivar/control/client_listener.h"
#include "tessivar/control/message_helper.h"
#include "tessivar/control/metadata_node.h"
#include "tessivar/control/node.h"
#include "tessivar/control/node_listener.h"
#include "tessivar/control/services.h"

// Routers and their controllers
#include "tessivar/routing/client.h"
#include "tessivar/routing/client_listener.h"
#include "tessivar/routing/message_helper.h"
#include "tessivar/routing/request_reply_services.h"
#include "tessivar/routing/services.h"

// The parts of these services, for applications that define their own services
#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/domain/dds_domain.h"
#include "tessivar/framework/domain/domain_handle.h"
#include "tessivar/framework/domain/domain_manager.h"
#include "tessivar/framework/domain/topic_qos.h"
#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/log/default_logger.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/log/readable_logger.h"
#include "tessivar/framework/nodes/dds_filtered_node.h"
#include "tessivar/framework/nodes/dds_node.h"
#include "tessivar/framework/nodes/dds_router_node.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/pointers/listener_list.h"
#include "tessivar/framework/report/report.h"
#include "tessivar/framework/requestreply/dds_request_reply.h"
#include "tessivar/framework/requestreply/dds_request_reply_node.h"
#include "tessivar/framework/requestreply/request_reply_ticket.h"
#include "tessivar/framework/requestreply/tessivar_request_reply_service.h"
#include "tessivar/framework/sync/ntp_time.h"
#include "tessivar/framework/sync/sync.h"
#include "tessivar/framework/sync/thread.h"
#include "tessivar/framework/waitset/handle_sum_order.h"
#include "tessivar/framework/waitset/wait_set_thread.h"
#include "tessivar/framework/waitset/wait_set_thread_runner.h"

// The data model
#include "tessivar/types/command/command.h"
#include "tessivar/types/core/core.h"
#include "tessivar/types/logging/logging.h"
#include "tessivar/types/routing/routing.h"

// The DDS platform
#include "tessivar/platform/builtin.h"
#include "tessivar/platform/cdr_stream.h"
#include "tessivar/platform/condition.h"
#include "tessivar/platform/content_filter.h"
#include "tessivar/platform/dds_string.h"
#include "tessivar/platform/listener.h"
#include "tessivar/platform/osapi.h"
#include "tessivar/platform/participant.h"
#include "tessivar/platform/print.h"
#include "tessivar/platform/qos.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/sample_info.h"
#include "tessivar/platform/sequence.h"
#include "tessivar/platform/status.h"
#include "tessivar/platform/topic.h"
#include "tessivar/platform/type_code.h"
#include "tessivar/platform/type_plugin.h"
#include "tessivar/platform/writer.h"
