// The registry of the library's own filters.
#include "privfilter/FilterFactory.h"

#include <climits>

#include "support/HostTest.h"

namespace {

class PrivateFilterRegistryTest : public HostTest {
 protected:
  vy_filter_t* create(const char* name) {
    const std::shared_ptr<IPrivFilter> filter = registry_->createFilter(name);
    EXPECT_NE(filter, nullptr);
    return filter != nullptr ? call(&IPrivFilter::get_filter, filter) : nullptr;
  }

  std::shared_ptr<FilterFactory> registry_ = FilterFactory::getInstance();
};

TEST_F(PrivateFilterRegistryTest, NamesAndIndicesMakeTheSameFilters) {
  EXPECT_EQ(registry_->getFilterCount(), 2);
  const std::pair<int, const char*> names[] = {{0, "HardwareD2CProcessor"}, {1, "DisparityTransform"},
                                               {2, "UnknownFilter"},        {-1, "UnknownFilter"},
                                               {INT_MIN, "UnknownFilter"},  {INT_MAX, "UnknownFilter"}};
  for (const auto& [index, name] : names) {
    EXPECT_STREQ(registry_->getFilterName(index), name) << index;
    const bool isKnown = index == 0 || index == 1;
    const std::shared_ptr<IPrivFilter> byIndex = registry_->createFilter(index);
    const std::shared_ptr<IPrivFilter> byName = registry_->createFilter(name);
    ASSERT_EQ(byIndex != nullptr, isKnown) << index;
    ASSERT_EQ(byName != nullptr, isKnown) << name;
    if (!isKnown) continue;
    EXPECT_STREQ(byIndex->get_name(), name);
    EXPECT_STREQ(byName->get_name(), name);
  }
}

// A search in which the host fails is in FaultSweepTest.cpp.
TEST_F(PrivateFilterRegistryTest, HandlesResolveToTheirOwnFilterOnly) {
  vy_filter_t* const first = create("DisparityTransform");
  vy_filter_t* const second = create("DisparityTransform");
  vy_filter_t* const other = create("HardwareD2CProcessor");
  const vy_filter_t* const handles[] = {first, second, other};
  for (const vy_filter_t* handle : handles) {
    const std::shared_ptr<IPrivFilter> filter = call(&FilterFactory::getPrivateFilter, registry_, handle);
    ASSERT_NE(filter, nullptr);
    EXPECT_EQ(call(&IPrivFilter::get_filter, filter), handle);
  }
  call(&FilterFactory::enablePrivateFilter, registry_, second, true);
  EXPECT_FALSE(call(&FilterFactory::isPrivateFilterEnabled, registry_, first));
  EXPECT_TRUE(call(&FilterFactory::isPrivateFilterEnabled, registry_, second));
}

}  // namespace
