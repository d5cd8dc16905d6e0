// The rules of create and destroy.
#include "scaler/ScalerChecks.h"

namespace qvs::validator {
namespace {

std::string makesSessions(const PluginVideoScaler& plugin) {
  void* first = nullptr;
  void* second = nullptr;
  if (plugin.func_create(&first) != 0 || plugin.func_create(&second) != 0) return "create fails";
  if (first == nullptr || second == nullptr) return "create gives 0 and no session";
  if (first == second) return "create gives the same session twice";
  if (plugin.func_destroy(second) != 0 || plugin.func_destroy(first) != 0) return "destroy fails";
  return {};
}

std::string takesNull(const PluginVideoScaler& plugin) {
  if (plugin.func_destroy(nullptr) != 0) return "destroy of a null session does not give 0";
  if (plugin.func_create(nullptr) == 0) return "create without a place for the session gives 0";
  return {};
}

}  // namespace

ScalerRules scalerSessionRules() {
  return {{"makes and destroys sessions", makesSessions}, {"copes with null sessions", takesNull}};
}

}  // namespace qvs::validator
