#include "tests/types/support/any_type.h"

#include "tessivar/types/command/internal/command_tables.h"
#include "tessivar/types/family/plugin.h"
#include "tessivar/types/logging/internal/logging_tables.h"
#include "tessivar/types/routing/internal/routing_tables.h"
#include "tests/types/support/values.h"

#include <memory>
#include <stdexcept>

namespace types_test {
namespace {

using namespace tessivar::types;

template <class Kind>
AnyType any_type(const char* room) {
  typedef typename Kind::type T;
  AnyType type;
  type.name = NameOf<Kind>::value;
  type.room = room;
  type.keyed = IsKeyed<Kind>::value;
  type.is_mutable = IsMutable<Kind>::value;
  static const std::unique_ptr<PRESTypePlugin> record(PluginRecord<Kind>::create());
  type.plugin = record.get();
  type.min_size = Plugin<Kind>::min_size;
  type.max_key_size = Plugin<Kind>::max_key_size_of;
  type.skip = Plugin<Kind>::skip;
  type.stream_to_key = [](void* key, RTICdrStream* stream) {
    return Plugin<Kind>::serialized_sample_to_key(nullptr, static_cast<T*>(key), stream, RTI_TRUE, RTI_TRUE, nullptr) !=
           0;
  };
  type.value = [](const void* sample) { return json_of(Kind(), *static_cast<const T*>(sample)); };
  type.text = [](const void* sample) {
    Printer printer;
    print(Kind(), printer, static_cast<const T*>(sample), nullptr, 0);
    return printer.text();
  };
  type.assign = [](void* sample, const json& value) { assign_json(Kind(), *static_cast<T*>(sample), value); };
  type.randomize = [](void* sample, Random& random) { randomize(Kind(), *static_cast<T*>(sample), random); };
  type.reset = [](void* sample) { clear(Kind(), *static_cast<T*>(sample), nullptr); };
  return type;
}

template <class... Kinds>
void add(std::vector<AnyType>& types, const char* room) {
  (types.push_back(any_type<Kinds>(room)), ...);
}

std::vector<AnyType> make_types() {
  std::vector<AnyType> types;
  {
    using namespace Tessivar;
    add<Structure<Address>, GuidKind, ReqReplyGuidKind, Structure<Range>, Structure<ULRange>, Structure<PtpTime>>(
        types, "core");
    add<Enumeration<CommandType>, Enumeration<CommandChangeReplyResult>, Union<CommandValue>,
        Structure<CommandChangeExceptionInfo>, Structure<Unit>, Structure<Command>, Structure<CommandMetadata>,
        Structure<CommandInterest>, Structure<CommandChangeRequest>, Structure<CommandChangeReply>>(types, "command");
  }
  {
    using namespace Tessivar_Routing;
    add<MatrixIndexKind, LevelIndexKind, PortIndexKind, AssociationIndexKind, Enumeration<RequestResult>,
        Structure<Level>, Structure<Matrix>, Structure<Router>, Structure<Source>, Structure<Destination>,
        Structure<Association>, Structure<AssociationRoute>, Structure<AssociationRouteChangeRequest>,
        Structure<AssociationRouteChangeExceptionInfo>, Structure<AssociationRouteChangeReply>,
        Structure<DestinationChangeRequest>, Structure<DestinationChangeReply>>(types, "routing");
  }
  {
    using namespace Tessivar_Logging;
    add<Enumeration<MaskType>, Enumeration<MaskReplyResult>, Structure<LogMessage>, Structure<LogMessage2>,
        Structure<LogMessage2Request>, Structure<LogMessage2Reply>, Structure<LatchedErrorInfo>,
        Structure<LogMessageEx>, Structure<MaskInfo>, Structure<LogMessageEx2>, Structure<LogMessageEx2Request>,
        Structure<LogMessageEx2Reply>, Structure<LogUnit>, Structure<UnitMask>, Structure<UnitMaskRequest>,
        Structure<HeaderMask>, Structure<HeaderMaskRequest>, Structure<MaskReply>, Structure<AlarmAck>>(types,
                                                                                                        "logging");
  }
  return types;
}

}  // namespace

const std::vector<AnyType>& all_types() {
  static const std::vector<AnyType> types = make_types();
  return types;
}

const AnyType& type_named(std::string_view name) {
  for (const AnyType& type : all_types())
    if (type.name == name) return type;
  throw std::invalid_argument(std::string(name));
}

}  // namespace types_test
