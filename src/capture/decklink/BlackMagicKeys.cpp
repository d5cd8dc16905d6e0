// The table of a card's parameters.
#include "capture/decklink/BlackMagicKeys.h"

#include <DeckLinkAPI.h>

#include <algorithm>
#include <iterator>

namespace qvs {

namespace {

using enum BlackMagicKeyType;

constexpr BlackMagicKeyRow attribute(uint32_t key, BlackMagicKeyType type, const char (&id)[5]) {
  return {key, BlackMagicKeyOwner::kAttribute, type, deckLinkCode(id)};
}
constexpr BlackMagicKeyRow setting(uint32_t key, BlackMagicKeyType type, const char (&id)[5]) {
  return {key, BlackMagicKeyOwner::kConfiguration, type, deckLinkCode(id)};
}

constexpr BlackMagicKeyRow kKeys[] = {
    attribute(130000, kFlag, "keyi"),
    attribute(130001, kFlag, "keye"),
    attribute(130004, kInt, "mach"),
    attribute(130006, kFlag, "infd"),
    attribute(130007, kFlag, "hrin"),
    attribute(130008, kFlag, "hspt"),
    attribute(130009, kInt, "nsbd"),
    attribute(130010, kInt, "subi"),
    attribute(130011, kInt, "vocn"),
    attribute(130012, kInt, "aocn"),
    attribute(130013, kInt, "vicn"),
    attribute(130014, kInt, "aicn"),
    attribute(130015, kFlag, "avog"),
    attribute(130016, kFlag, "ovog"),
    attribute(130017, kFlag, "aafl"),
    attribute(130018, kFlag, "byps"),
    attribute(130019, kFloat, "vigm"),
    attribute(130020, kFloat, "vigx"),
    attribute(130021, kFloat, "vogm"),
    attribute(130022, kFloat, "vogx"),
    attribute(130024, kInt, "vios"),
    attribute(130025, kFlag, "ctad"),
    attribute(130027, kInt, "peid"),
    attribute(130029, kInt, "dgid"),
    attribute(130030, kInt, "toid"),
    attribute(130031, kFlag, "frin"),
    attribute(130032, kFlag, "lvla"),
    attribute(130033, kFlag, "sdls"),
    attribute(130034, kFlag, "sqls"),
    attribute(130035, kFlag, "idou"),
    attribute(130036, kInt, "dccn"),
    attribute(130037, kFloat, "migm"),
    attribute(130038, kFloat, "migx"),
    attribute(130039, kInt, "dbus"),
    attribute(130040, kFlag, "hltc"),
    attribute(130045, kFlag, "hdrm"),
    setting(130047, kInt, "3dpf"),
    setting(130048, kFlag, "aacl"),
    setting(130049, kFlag, "fdfr"),
    setting(130050, kFlag, "to59"),
    setting(130051, kFlag, "444o"),
    setting(130052, kFlag, "bvoc"),
    setting(130053, kInt, "glot"),
    setting(130054, kInt, "cptm"),
    setting(130055, kInt, "vocn"),
    setting(130056, kInt, "vocm"),
    setting(130057, kInt, "avof"),
    setting(130058, kInt, "vicn"),
    setting(130059, kInt, "avif"),
    setting(130060, kInt, "vicm"),
    setting(130061, kInt, "pdif"),
    setting(130062, kInt, "vsl1"),
    setting(130063, kInt, "vsl2"),
    setting(130064, kInt, "vsl3"),
    setting(130065, kInt, "aicn"),
    setting(130066, kFloat, "ais1"),
    setting(130067, kFloat, "ais2"),
    setting(130068, kFloat, "ais3"),
    setting(130069, kFloat, "ais4"),
    setting(130071, kInt, "aoaa"),
    setting(130072, kFloat, "aos1"),
    setting(130073, kFloat, "aos2"),
    setting(130074, kFloat, "aos3"),
    setting(130075, kFloat, "aos4"),
    setting(130076, kFloat, "daos"),
    setting(130077, kFlag, "caao"),
    setting(130078, kFlag, "smta"),
    setting(130079, kString, "dila"),
    setting(130080, kString, "disn"),
    setting(130081, kString, "dico"),
    setting(130082, kString, "diph"),
    setting(130083, kString, "diem"),
    setting(130084, kString, "dida"),
    setting(130085, kInt, "voio"),
    setting(130086, kFlag, "ssrt"),
    setting(130087, kInt, "byps"),
    setting(130088, kInt, "ctad"),
    setting(130089, kFlag, "visc"),
    setting(130090, kFlag, "dltc"),
    setting(130091, kInt, "dvom"),
    setting(130092, kInt, "dvof"),
    setting(130093, kInt, "solc"),
    setting(130094, kFloat, "oclg"),
    setting(130095, kFloat, "occb"),
    setting(130096, kFloat, "occr"),
    setting(130097, kFloat, "oilg"),
    setting(130098, kFloat, "oicg"),
    setting(130099, kFloat, "oslg"),
    setting(130100, kFloat, "oscg"),
    setting(130101, kFloat, "iclg"),
    setting(130102, kFloat, "iccb"),
    setting(130103, kFloat, "iccr"),
    setting(130104, kFloat, "iilg"),
    setting(130105, kFloat, "iicg"),
    setting(130106, kFloat, "islg"),
    setting(130107, kFloat, "iscg"),
    setting(130108, kFlag, "mphp"),
    setting(130109, kFloat, "micg"),
    setting(130110, kFloat, "hvol"),
    setting(130111, kInt, "dcco"),
    setting(130112, kFlag, "3dds"),
    {130002, BlackMagicKeyOwner::kNobody, kInt, 0},
    {130005, BlackMagicKeyOwner::kNobody, kInt, 0},
    {130046, BlackMagicKeyOwner::kNobody, kInt, 0},
    {130113, BlackMagicKeyOwner::kNobody, kInt, 0},
    {kKeyVolumeLevel, BlackMagicKeyOwner::kDevice, kFloat, 0},
    {kKeyEmptyFrameWidth, BlackMagicKeyOwner::kDevice, kInt, 0},
    {kKeyEmptyFrameHeight, BlackMagicKeyOwner::kDevice, kInt, 0},
    {kKeyAudioCaptureChannelCount, BlackMagicKeyOwner::kDevice, kInt, 0},
    {kKeyDeinterlaceMode, BlackMagicKeyOwner::kDevice, kInt, 0},
    {kKeyGpuid, BlackMagicKeyOwner::kDevice, kInt, 0},
};

}  // namespace

const BlackMagicKeyRow* findBlackMagicKey(uint32_t key) {
  const auto row =
      std::find_if(std::begin(kKeys), std::end(kKeys), [&](const auto& one) { return one.key == key; });
  return row != std::end(kKeys) ? row : nullptr;
}

}  // namespace qvs
