#include "Chain.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tavrix_sim.h>

#include <algorithm>
#include <string_view>

namespace vycam {
namespace {

/// A link of the chain whose calls are being read.
struct ObservedLink {
  ChainLink link;
  bool isPrivate = false;
  bool wasSwitched = false;
};

bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

/// The quoted texts of a record, in order.
std::vector<std::string> quotedTexts(std::string_view record) {
  std::vector<std::string> texts;
  for (size_t open = record.find('"'); open != std::string_view::npos;) {
    const size_t close = record.find('"', open + 1);
    if (close == std::string_view::npos) {
      break;
    }
    texts.emplace_back(record.substr(open + 1, close - open - 1));
    open = record.find('"', close + 1);
  }
  return texts;
}

// The library makes, configures and switches the filters one after the other, so each call concerns the newest filter.
std::vector<ObservedLink> observe(const std::vector<std::string>& calls) {
  std::vector<ObservedLink> links;
  for (const std::string& record : calls) {
    const bool isPrivate = startsWith(record, "vy_create_private_filter(");
    if (isPrivate || startsWith(record, "vy_create_filter(")) {
      const std::vector<std::string> texts = quotedTexts(record);
      const std::string name = texts.empty() ? std::string() : texts.front();
      links.push_back({{name, name, {}, false}, isPrivate, false});
    } else if (links.empty()) {
      continue;
    } else if (startsWith(record, "vy_filter_update_config(")) {
      links.back().link.arguments = quotedTexts(record);
    } else if (startsWith(record, "vy_filter_enable(")) {
      links.back().link.enabled = record.find("enable: true") != std::string::npos;
      links.back().wasSwitched = true;
    } else if (startsWith(record, "vy_delete_filter(")) {
      links.pop_back();  // the library drops a filter whose setup failed
    }
  }
  // The library switches every public filter that it could make.
  links.erase(std::remove_if(links.begin(), links.end(),
                             [](const ObservedLink& observed) { return !observed.isPrivate && !observed.wasSwitched; }),
              links.end());
  return links;
}

/// The library's own filters in chain order: the schema names them, but the host made none of that name.
std::vector<std::string> ownFilters(const std::vector<ObservedLink>& links, const Schema& schema) {
  std::vector<std::string> own;
  for (const SchemaRow& row : schema) {
    const std::string name = row.filter();
    const bool isHosts = std::any_of(links.begin(), links.end(), [&](const ObservedLink& observed) {
      return !observed.isPrivate && observed.link.name == name;
    });
    if (!isHosts && std::find(own.begin(), own.end(), name) == own.end()) {
      own.push_back(name);
    }
  }
  return own;
}

}  // namespace

CallRecording::CallRecording() {
  vysim_record_start();
}

CallRecording::~CallRecording() {
  vysim_record_stop();
}

std::vector<std::string> CallRecording::calls() {
  std::vector<std::string> calls;
  for (size_t i = 0; i < vysim_record_count(); ++i) {
    calls.emplace_back(vysim_record_at(i));
  }
  return calls;
}

Chain chainFromCalls(const std::vector<std::string>& calls, const Schema& schema) {
  const std::vector<ObservedLink> links = observe(calls);
  const std::vector<std::string> own = ownFilters(links, schema);
  Chain chain;
  size_t nextOwn = 0;
  for (const ObservedLink& observed : links) {
    ChainLink link = observed.link;
    if (observed.isPrivate && nextOwn < own.size()) {
      // No host call shows the switches of the library's own filters; the schema has their initial state.
      link.name = own[nextOwn++];
      const SchemaRow* const row = findRow(schema, link.name + "#255");
      link.enabled = row != nullptr && row->value == "1";
    }
    chain.push_back(std::move(link));
  }
  return chain;
}

std::string describe(const ChainLink& link) {
  std::string text = link.name;
  if (!link.arguments.empty()) {
    text += fmt::format("({})", fmt::join(link.arguments, ", "));
  }
  if (link.isWrapper()) {
    text += fmt::format(" (wraps {})", link.hostName);
  }
  return text;
}

}  // namespace vycam
