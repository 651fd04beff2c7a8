// Checks of each filter of the catalogue.
#include <fmt/format.h>

#include <cmath>

#include "HostChecks.h"
#include "SchemaItems.h"

namespace vyhost {
namespace {

bool always(const KnownFilter&) {
  return true;
}
/// The library switches the host's filters inside its own ones without telling the host.
bool isSwitched(const KnownFilter& filter) {
  return !filter.isPrivate;
}
bool hasArguments(const KnownFilter& filter) {
  return !filter.initialArguments.empty();
}
bool isPublished(const KnownFilter& filter) {
  return !filter.published.empty();
}

/// The lines of settings are split at these, and nothing is quoted in them.
void checkName(const HostUnderTest& host, const std::optional<std::string>& name, const std::string& what) {
  if (!name.has_value()) {
    host.trial.fail(fmt::format("{} is null", what));
  } else if (name->empty()) {
    host.trial.fail(fmt::format("{} is empty", what));
  } else if (name->find_first_of("#,\n") != std::string::npos) {
    host.trial.fail(
        fmt::format("{} \"{}\" has a \"#\", comma or line feed, where lines of settings are split", what, *name));
  }
}

void checkCreation(const HostUnderTest& host, const KnownFilter& known) {
  const auto& create = known.isPrivate ? host.vy_create_private_filter : host.vy_create_filter;
  vy_filter_t* const filter = host.must(create, known.name);
  if (filter == nullptr) throw Broken(fmt::format("{} gives null without an error", create.name()));
  host.must(host.vy_delete_filter, filter);
}

void checkOtherDoor(const HostUnderTest& host, const KnownFilter& known) {
  const auto& create = known.isPrivate ? host.vy_create_filter : host.vy_create_private_filter;
  if (!host.ask(create, known.name).error.isSet) host.trial.warn(fmt::format("{} makes it, too", create.name()));
}

void checkReportedName(const HostUnderTest& host, const KnownFilter& known) {
  const vy_filter_t* const filter = makeFilter(host, known);
  const auto name = readText(host.must(host.vy_filter_get_name, filter), "the name of the filter");
  checkName(host, name, "the name it reports");
  if (name.has_value() && *name != known.name)
    host.trial.fail(fmt::format("it reports the name \"{}\": the library finds it by \"{}\"", *name, known.name));
}

void checkArguments(const HostUnderTest& host, const KnownFilter& known) {
  for (const auto& row : known.initialArguments) configure(host, makeFilter(host, known), row);
}

void checkItem(const HostUnderTest& host, const SchemaItem& item, std::uint32_t index) {
  checkName(host, item.name, fmt::format("the name of item {}", index));
  if (item.type < 0 || item.type > 2)
    host.trial.fail(fmt::format("item {} is of type {}, not 0 to 2", index, item.type));
  // In a form that is false for what is no number.
  if (!(item.min <= item.def && item.def <= item.max)) {
    host.trial.fail(fmt::format("the default of item {} is {}, out of {} to {}", index, item.def, item.min, item.max));
  }
  if (!(item.step >= 0) || !std::isfinite(item.min) || !std::isfinite(item.max) || !std::isfinite(item.step))
    host.trial.fail(fmt::format("item {} goes from {} to {} by {}", index, item.min, item.max, item.step));
  if (!item.description.has_value()) {
    host.trial.fail(fmt::format("the description of item {} is null", index));
  } else if (item.description->find('\n') != std::string::npos) {
    host.trial.fail(fmt::format("the description of item {} has a line feed, where lines of settings end", index));
  }
}

void checkSettings(const HostUnderTest& host, const KnownFilter& known) {
  vy_filter_t* const filter = makeFilter(host, known);
  vy_filter_config_schema_list_t* const list = makeList(host, filter);
  const std::uint32_t count = host.must(host.vy_filter_config_schema_list_get_count, list);
  for (const std::uint32_t index : known.published) {
    if (index >= count) {
      host.trial.fail(fmt::format("its schema list has {} items and lacks item {}, which is published", count, index));
      continue;
    }
    const SchemaItem item = readItem(host, list, index);
    checkItem(host, item, index);
    // The library reads the value between the name and the description.
    if (item.name.has_value()) host.must(host.vy_filter_get_config_value, filter, item.nameAddress);
    if (readText(item.nameAddress, "the name of an item after another call") != item.name)
      host.trial.fail(fmt::format("the name of item {} changes with the next call, though its list lives", index));
  }
}

bool isNear(double value, double wanted) {
  constexpr double kFloatPrecision = 1e-6;
  return std::abs(value - wanted) <= kFloatPrecision * std::max(1.0, std::abs(wanted));
}

void checkValue(const HostUnderTest& host, vy_filter_t* filter, const SchemaItem& item) {
  const char* const name = item.nameAddress;
  const double value = host.must(host.vy_filter_get_config_value, filter, name);
  if (!(value >= item.min && value <= item.max))
    host.trial.fail(fmt::format("{} is {}, out of {} to {}", *item.name, value, item.min, item.max));
  host.must(host.vy_filter_set_config_value, filter, name, value);
  for (const double wanted : {item.min, item.max, value}) {
    const SeenError refusal = host.ask(host.vy_filter_set_config_value, filter, name, wanted).error;
    if (refusal.isSet) {
      host.trial.warn(fmt::format("{} cannot be set to {}, within its range: {}", *item.name, wanted, refusal.text));
      continue;
    }
    const double after = host.must(host.vy_filter_get_config_value, filter, name);
    if (!isNear(after, wanted)) host.trial.fail(fmt::format("{} was set to {} and is {}", *item.name, wanted, after));
  }
}

void checkValues(const HostUnderTest& host, const KnownFilter& known) {
  vy_filter_t* const filter = makeFilter(host, known);
  const std::vector<SchemaItem> items = readItems(host, filter);
  for (const std::uint32_t index : known.published) {
    if (index >= items.size() || !items[index].name.has_value())
      throw NotTried(fmt::format("there is no item {} with a name", index));
    checkValue(host, filter, items[index]);
  }
}

void checkSwitch(const HostUnderTest& host, const KnownFilter& known) {
  vy_filter_t* const filter = makeFilter(host, known);
  for (const bool wanted : {true, false, true}) {
    host.must(host.vy_filter_enable, filter, wanted);
    if (host.must(host.vy_filter_is_enabled, filter) != wanted)
      host.trial.fail(fmt::format("it was switched {} and is not", wanted ? "on" : "off"));
  }
}

void checkList(const HostUnderTest& host, const KnownFilter& known) {
  vy_filter_t* const filter = makeFilter(host, known);
  // Twice, as each client of a chain asks for a list of its own.
  vy_filter_config_schema_list_t* const lists[] = {makeList(host, filter), makeList(host, filter)};
  for (vy_filter_config_schema_list_t* const list : lists) host.must(host.vy_delete_filter_config_schema_list, list);
}

void checkReset(const HostUnderTest& host, const KnownFilter& known) {
  host.must(host.vy_filter_reset, makeFilter(host, known));
}

}  // namespace

// clang-format off
const std::vector<FilterCheck> kFilterChecks = {
    {"creation",          "it is made by its name and given back",                     Verdict::fail,    always,       checkCreation},
    {"other door",        "the other creation function refuses it",                    Verdict::warning, always,       checkOtherDoor},
    {"reported name",     "it reports the name that it was made by",                   Verdict::fail,    always,       checkReportedName},
    {"initial arguments", "it takes the texts that chains set it up with",             Verdict::fail,    hasArguments, checkArguments},
    {"settings",          "its list has the published items, complete and in order",   Verdict::fail,    isPublished,  checkSettings},
    {"values",            "published items take values of their range and keep them",  Verdict::fail,    isPublished,  checkValues},
    {"switch",            "it is switched on and off",                                 Verdict::fail,    isSwitched,   checkSwitch},
    {"schema list",       "two lists are made and given back",                         Verdict::fail,    always,       checkList},
    {"reset",             "it is reset",                                               Verdict::fail,    always,       checkReset},
};
// clang-format on

}  // namespace vyhost
