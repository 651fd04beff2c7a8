#pragma once

#include <memory>

#include "filters/Filter.h"
#include "tavrix_sim.h"

/// All filters that can be created by name: those of the host, and those that a test or a tool defined.
namespace tavrix::catalogue {

/// Makes a filter. Throws Failure for an unknown name, and where a private filter is asked for as a public one or the
/// reverse.
std::unique_ptr<Filter> create(const char* name, bool isPrivate);
void define(const vysim_filter_definition& definition);
void dropDefinitions();

}  // namespace tavrix::catalogue
