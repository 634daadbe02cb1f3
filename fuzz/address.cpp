// SPDX-License-Identifier: Apache-2.0

// Fuzz target: any texts as addresses, and as expression, parameters and sample of the address filter.
//
// Lines: the filter expression, the address of a sample, the filter's parameters. Every line is also read as an
// address.
#include "fuzz/demand.h"
#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/types/command/command.h"
#include "tessivar/types/core/core.h"
#include "tessivar/types/routing/routing.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace {

using namespace TessivarDDS;
using tessivar_fuzz::demand;

/// Reads three hexadecimal numbers, without blank, sign or prefix. Returns false if the text has another form, or if a
/// number exceeds its field.
bool read_plain(const std::string& text, unsigned& packed) {
  packed = 0;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (const unsigned most : {0xFFFFu, 0xFFu, 0xFFu}) {
    if (most == 0xFFu && (at == end || *at++ != ':')) return false;
    std::uint32_t number;
    const auto [next, failure] = std::from_chars(at, end, number, 16);
    if (failure != std::errc() || number > most) return false;
    packed = packed * (most + 1) + number;
    at = next;
  }
  return at == end;
}

void check_address(const std::string& text) {
  const AddressEx address(text.c_str());
  const unsigned packed = address.packed();
  demand(address.toString() == text, "the text is kept");
  unsigned expected;
  demand(!read_plain(text, expected) || packed == expected, "plain numbers are read");
  const AddressEx canonical(packed);
  demand(AddressEx(canonical.guid()).packed() == packed, "the canonical text is read");
  demand(AddressEx(address.net(), address.unit(), address.port()) == canonical, "numbers make the canonical text");
  demand(AddressEx(address.convert()) == canonical, "an address on the bus has the same numbers");
  AddressEx copy;
  copy = address;
  demand(copy == address && copy.packed() == packed, "a copy is equal");
  char* out = nullptr;
  AddressEx(std::move(copy)).copyTo(&out);
  demand(out && text == out, "the text is copied");
  DDS_String_free(out);
}

void check_order(const std::string& a, const std::string& b) {
  const AddressEx left(a.c_str()), right(b.c_str());
  demand((left == right) == (a == b) && (left != right) == (a != b), "equal texts are equal addresses");
  demand((left < right) == (a < b) && (left > right) == (a > b), "addresses are in the order of their texts");
}

/// A logger that only counts errors.
class ErrorCount final : public Logger {
 public:
  void log(int level, const std::string&) override { errors += level == LogError; }
  int errors = 0;
};

/// A sample of a type that contains an address.
struct Addressed {
  std::string expression;
  void* sample;
  char** address;
};

template <class T>
Addressed addressed(const char* type) {
  T* const sample = T::TypeSupport::create_data();
  if constexpr (requires { sample->unitId; }) {
    return {AddressContentFilter::expression(type), sample, &sample->unitId};
  } else {
    return {AddressContentFilter::expression(type), sample, &sample->newValue.unitId};
  }
}

/// Returns one entry for each value of AddressContentFilter::TypeEnum, in its order.
std::vector<Addressed> make_addressed() {
  using namespace Tessivar;
  using namespace Tessivar_Routing;
  return {{},
          addressed<Source>("Tessivar_Routing::Source"),
          addressed<Destination>("Tessivar_Routing::Destination"),
          addressed<Association>("Tessivar_Routing::Association"),
          addressed<AssociationRoute>("Tessivar_Routing::AssociationRoute"),
          addressed<AssociationRouteChangeRequest>("Tessivar_Routing::AssociationRouteChangeRequest"),
          addressed<Command>("Tessivar::Command"),
          addressed<CommandChangeRequest>("Tessivar::CommandChangeRequest"),
          addressed<CommandInterest>("Tessivar::CommandInterest"),
          addressed<CommandMetadata>("Tessivar::CommandMetadata")};
}

void check_filter(const std::string& expression, const std::string& address, const std::vector<std::string>& wanted) {
  static const auto& types = *new std::vector(make_addressed());  // never deleted: it holds the samples
  static auto* const log = new ErrorCount;
  setLogger(log);
  DDS_StringSeq parameters;
  const auto count = static_cast<DDS_Long>(wanted.size());
  demand(parameters.ensure_length(count, count), "there is memory");
  for (DDS_Long i = 0; i < count; ++i) DDS_String_replace(&parameters[i], wanted[static_cast<std::size_t>(i)].c_str());

  auto& filter = AddressContentFilter::instance();
  const int errors_before = log->errors;
  void* data = nullptr;
  if (filter.compile(&data, expression.c_str(), parameters, nullptr, "", nullptr) != DDS_RETCODE_OK) {
    demand(!data && log->errors > errors_before, "a refused expression is told of and leaves nothing");
    for (const Addressed& type : types) demand(expression != type.expression || expression.empty(), "a type is known");
    return;
  }
  demand(data && log->errors == errors_before, "an accepted expression makes data and is no error");
  const auto& type = types.at(static_cast<const AddressContentFilter::CompileData*>(data)->type);
  demand(type.sample && expression.find(type.expression) != expression.npos, "the type is that of the expression");
  DDS_String_replace(type.address, address.c_str());
  const bool passes = wanted.empty() || std::find(wanted.begin(), wanted.end(), address) != wanted.end();
  demand(filter.evaluate(data, type.sample, nullptr) == passes, "samples of the wanted addresses pass");
  filter.finalize(data);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  std::vector<std::string> lines(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == '\n') {
      lines.emplace_back();
    } else if (data[i] != '\0') {  // a zero would end the text
      lines.back() += static_cast<char>(data[i]);
    }
  }
  for (const std::string& line : lines) {
    check_address(line);
    check_order(lines[0], line);
  }
  if (lines.size() < 2) lines.emplace_back();
  check_filter(lines[0], lines[1], {lines.begin() + 2, lines.end()});
  return 0;
}
