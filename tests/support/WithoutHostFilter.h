#pragma once

#include "support/HostTest.h"

/// One of the library's own filters, without the host filter inside.
template <typename OwnFilter>
struct WithoutHostFilter : OwnFilter {
  WithoutHostFilter() {
    call(vy_delete_filter, this->filter_);
    this->filter_ = nullptr;
  }
};
