#pragma once

#include "support/HostModel.h"

/// The rules for everything but frames, written a second time: which host calls building a chain, a configuration
/// command, hardware D2C parameters, destroying a processor and closing the context make when the nth host call fails.
class ChainModel : public HostModel {
 public:
  ChainModel(const ModelChain& chain, std::uint64_t failing, vysim_fault fault)
      : HostModel(chain, failing, fault), links_(chain.links), filtersMade_(chain.filtersMade) {}

  void build();
  void command();
  void setHardwareD2C();
  void destroy();
  void close();

  ErrorOrigin error;  ///< that the caller gets
  ModelChain built;   ///< what building has made
  std::string keys;   ///< of its schema, one a line

 private:
  static constexpr int kSwitch = 255;
  struct List {
    std::string name;  ///< "list" or "null"
    int refusal() const { return name == "null" ? kInvalidValue : 0; }
  };

  void publish(ModelLink& link);
  void setItem(const ModelLink& link, int item);
  bool reportsItsName(const ModelLink& link);
  void forward(const char* function, const ModelLink& link, ErrorOrigin& slot, int refusal = 0);
  List getList(const ModelLink& link, ErrorOrigin& slot);
  /// Whether the item has a name.
  bool getItem(const ModelLink& link, const List& list, int item, ErrorOrigin& slot);
  void giveBack(const ModelLink& link, const List& list);

  const std::vector<ModelLink> links_;
  std::size_t filtersMade_;
};
