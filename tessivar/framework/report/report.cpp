// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/report/report.h"

#include "tessivar/platform/system/calls.h"

#include <cstdio>
#include <ctime>
#include <ostream>

namespace TessivarDDS {
namespace {

struct Time {
  std::int64_t nanoseconds;
};

std::string iso(Time time) {
  const auto seconds = static_cast<std::time_t>(time.nanoseconds / 1000000000);
  const std::tm utc = tessivar::platform::utc_time(seconds);
  char text[40];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(text + length, sizeof text - length, ".%03dZ", static_cast<int>(time.nanoseconds / 1000000 % 1000));
  return text;
}

// The members of each part with their names, for both output formats.

template <class Visit>
void visit(const PeerReport& peer, Visit&& member) {
  member("guid", peer.guid);
  member("name", peer.name);
  member("role", peer.role);
  member("addresses", peer.addresses);
  member("type", std::uint64_t{peer.type});
  member("admitted", peer.admitted);
  member("since", Time{peer.since});
}

template <class Visit>
void visit(const EndpointReport& endpoint, Visit&& member) {
  member("topic", endpoint.topic);
  member("type", endpoint.type);
  member("writer", endpoint.writer);
  member("matched", std::uint64_t{endpoint.matched});
  member("received", endpoint.received);
  member("waiting", endpoint.waiting);
  member("filtered", endpoint.filtered);
  member("lost", endpoint.lost);
  member("sent", endpoint.sent);
  member("rejected", endpoint.rejected);
  member("failed_to_encode", endpoint.failed_to_encode);
  member("failed_to_decode", endpoint.failed_to_decode);
  member("last_change", Time{endpoint.last_change});
}

template <class Visit>
void visit(const ExchangeReport& exchange, Visit&& member) {
  const RequestReplyCounts& counts = exchange.counts;
  member("topic", exchange.topic);
  member("requestsSent", counts.requestsSent);
  member("requestsNotSent", counts.requestsNotSent);
  member("repliesReceived", counts.repliesReceived);
  member("repliesWithoutTicket", counts.repliesWithoutTicket);
  member("ticketsPending", counts.ticketsPending);
  member("ticketsEvicted", counts.ticketsEvicted);
  member("requestsReceived", counts.requestsReceived);
  member("requestsExpired", counts.requestsExpired);
  member("repliesSent", counts.repliesSent);
  member("repliesNotSent", counts.repliesNotSent);
  member("clientsForgotten", counts.clientsForgotten);
}

// --- JSON

std::string quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    if (static_cast<unsigned char>(c) >= ' ') {
      quoted += c;
    } else {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      quoted += escape;
    }
  }
  return quoted + '"';
}

std::string json(const std::string& value) {
  return quoted(value);
}
std::string json(std::uint64_t value) {
  return std::to_string(value);
}
std::string json(bool value) {
  return value ? "true" : "false";
}
std::string json(Time value) {
  return value.nanoseconds ? quoted(iso(value)) : "null";
}

template <class Part>
std::string json(const std::vector<Part>& parts) {
  std::string text = "[";
  for (const Part& part : parts) {
    text += text.size() > 1 ? ",{" : "{";
    const char* separator = "";
    visit(part, [&](const char* name, const auto& value) {
      text += separator + quoted(name) + ':' + json(value);
      separator = ",";
    });
    text += '}';
  }
  return text + ']';
}

// --- text

void addFigure(std::string& line, const char* name, std::uint64_t value) {
  if (!value) return;
  line += ", ";
  line += name;
  line += ' ' + std::to_string(value);
}
void addFigure(std::string&, const char*, const std::string&) {}
void addFigure(std::string&, const char*, bool) {}
void addFigure(std::string& line, const char* name, Time value) {
  if (value.nanoseconds) line += ", " + std::string(name) + ' ' + iso(value);
}

template <class Part>
std::string figures(const Part& part) {
  std::string line;
  visit(part, [&](const char* name, const auto& value) { addFigure(line, name, value); });
  return line + '\n';
}

}  // namespace

std::string to_text(const Report& report) {
  std::string text = report.service;
  text += report.domainId < 0 ? ": not created" : " on domain " + std::to_string(report.domainId);
  if (report.lastChange) text += ", last change " + iso({report.lastChange});
  text += '\n';
  for (const PeerReport& peer : report.peers) {
    text += std::string("  peer ") + peer.guid + (peer.admitted ? " admitted" : " denied");
    for (const std::string& part : {peer.name, peer.role, peer.addresses}) text += part.empty() ? "" : ' ' + part;
    text += peer.type == 0xFFFF ? ", without type" : ", type " + std::to_string(peer.type);
    text += ", since " + iso({peer.since}) + '\n';
  }
  for (const EndpointReport& endpoint : report.endpoints) {
    text += std::string(endpoint.writer ? "  writer " : "  reader ") + endpoint.topic + " (" + endpoint.type + ')';
    if (!endpoint.matched) text += ", matched 0";
    text += figures(endpoint);
  }
  for (const ExchangeReport& exchange : report.exchanges) {
    text += "  requests and replies on " + exchange.topic + figures(exchange);
  }
  return text;
}

std::string to_json(const Report& report) {
  return "{\"service\":" + quoted(report.service) + ",\"domainId\":" + std::to_string(report.domainId) +
         ",\"lastChange\":" + json(Time{report.lastChange}) + ",\"peers\":" + json(report.peers) +
         ",\"endpoints\":" + json(report.endpoints) + ",\"exchanges\":" + json(report.exchanges) + '}';
}

std::ostream& operator<<(std::ostream& stream, const Report& report) {
  return stream << to_text(report);
}

}  // namespace TessivarDDS
