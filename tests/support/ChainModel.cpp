#include "support/ChainModel.h"

#include <algorithm>

void ChainModel::build() {
  for (ModelLink link : links_) {
    const char* const create = link.isOwn() ? "vy_create_private_filter" : "vy_create_filter";
    const Outcome made = call(create, '"' + link.hostName() + '"');
    // A filter of the library's own needs one of the host's; a chain takes null for a filter and learns of it later.
    filtersMade_ += made.done ? 1 : 0;
    if (made.error.isSet() || (link.isOwn() && !made.done)) continue;
    link.label = made.done ? link.hostName() + "#" + std::to_string(filtersMade_) : "null";
    if (link.isOwn()) registry_.push_back(link.label);

    ErrorOrigin slot;
    const int refusal = made.done ? 0 : kInvalidValue;
    if (link.isConfigured) call("vy_filter_update_config", link.label, slot, refusal);
    if (!slot.isSet()) forward("vy_filter_enable", link, slot, refusal);
    if (slot.isSet()) {
      forward("vy_delete_filter", link, slot, refusal);
    } else {
      publish(link);
      built.links.push_back(link);
    }
  }
  built.registry = registry_;
}

/// A call that the library's own filters answer without the host, once they are found.
void ChainModel::forward(const char* function, const ModelLink& link, ErrorOrigin& slot, int refusal) {
  if (link.isOwn()) {
    find(link, slot);
  } else {
    call(function, link.label, slot, refusal);
  }
}

bool ChainModel::reportsItsName(const ModelLink& link) {
  ErrorOrigin slot;
  if (link.isOwn()) return find(link, slot);
  return static_cast<bool>(call("vy_filter_get_name", link.label));
}

ChainModel::List ChainModel::getList(const ModelLink& link, ErrorOrigin& slot) {
  if (link.isOwn() && !find(link, slot)) return {"null"};
  return {call("vy_filter_get_config_schema_list", link.label, slot).done ? "list" : "null"};
}

bool ChainModel::getItem(const ModelLink& link, const List& list, int item, ErrorOrigin& slot) {
  if (link.isOwn() && list.refusal() != 0) {
    slot = {"priv_filter_config_schema_list_get_item", kInvalidValue};
    return false;
  }
  return call("vy_filter_config_schema_list_get_item", list.name + " " + std::to_string(item), slot, list.refusal())
      .done;
}

void ChainModel::giveBack(const ModelLink& link, const List& list) {
  if (link.isOwn() && list.refusal() != 0) return;
  call("vy_delete_filter_config_schema_list", list.name, list.refusal());
}

/// Asks for what the schema tells of a filter. What fails is left out.
void ChainModel::publish(ModelLink& link) {
  if (link.items.empty()) return;
  ErrorOrigin failed;
  const List list = getList(link, failed);
  link.keepsList = failed.isSet() && link.isOwn() && list.refusal() == 0;
  if (failed.isSet()) return;
  for (const int item : link.items) {
    ErrorOrigin slot;
    if (!reportsItsName(link)) continue;
    if (item != kSwitch) {
      const bool isKnown = getItem(link, list, item, slot);
      if (slot.isSet()) continue;
      // A filter that is not found has the value 0.
      const bool isFound = !link.isOwn() || find(link, slot);
      if (isFound) call("vy_filter_get_config_value", link.label, slot, isKnown ? 0 : kInvalidValue);
      if (slot.isSet()) continue;
    }
    keys += link.name() + "#" + std::to_string(item) + "\n";
  }
  giveBack(link, list);
}

void ChainModel::command() {
  for (const ModelLink& wanted : links_) {
    for (const int item : wanted.items) {
      const auto found = std::find_if(links_.begin(), links_.end(), [&](const ModelLink& link) {
        return reportsItsName(link) && link.name() == wanted.name();
      });
      if (found == links_.end()) continue;
      if (item == kSwitch) {
        forward("vy_filter_enable", *found, error);
      } else {
        setItem(*found, item);
      }
      if (error.isSet()) return;
    }
  }
}

void ChainModel::setItem(const ModelLink& link, int item) {
  const List list = getList(link, error);
  if (error.isSet()) return;
  bool hasItems = false;
  if (link.isOwn() && list.refusal() != 0) {
    error = {"priv_filter_config_schema_list_get_count", kInvalidValue};
  } else {
    hasItems = call("vy_filter_config_schema_list_get_count", list.name, error, list.refusal()).done;
  }
  if (hasItems && !error.isSet()) {
    const bool isKnown = getItem(link, list, item, error);
    if (!error.isSet() && (!link.isOwn() || find(link, error))) {
      call("vy_filter_set_config_value", link.label, error, isKnown ? 0 : kInvalidValue);
    }
  }
  giveBack(link, list);
}

void ChainModel::setHardwareD2C() {
  for (const ModelLink& link : links_) {
    ErrorOrigin ignored;
    if (link.isOwn()) find(link, ignored);
  }
}

void ChainModel::destroy() {
  for (const ModelLink& link : links_) {
    ErrorOrigin ignored;
    forward("vy_delete_filter", link, ignored);
    if (link.keepsList) giveBack(link, {"list"});
  }
}

void ChainModel::close() {
  call("vy_delete_device_info", "device_info#1");
  for (const std::string& label : registry_) call("vy_delete_filter", label);
}
