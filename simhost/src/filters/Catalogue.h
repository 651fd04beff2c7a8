#pragma once

#include <memory>

#include "filters/Filter.h"
#include "tavrix_sim.h"

/// All filters that can be created by name: those of the host, and those that a test or a tool defined.
namespace tavrix::catalogue {

/// Throws Failure for a name that is unknown, or that belongs to the other way of creation.
std::unique_ptr<Filter> create(const char* name, bool isPrivate);
void define(const vysim_filter_definition& definition);
void dropDefinitions();

}  // namespace tavrix::catalogue
