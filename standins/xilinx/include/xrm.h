// The records and operations of the cards' resource manager that are called, version 2 of the records. The order of fields
// is the published one; how many units a list has is the library's own limit, so a build against the real one takes its
// header instead of this.
#pragma once

#include <cstdint>

#define XRM_API_VERSION_1 1
#define XRM_MAX_NAME_LEN 256
#define XRM_MAX_LIST_CU_NUM_V2 32
#define XRM_MAX_POOL_CU_LIST_NUM_V2 128
#define XRM_MAX_XILINX_DEVICES 16
#define XRM_MAX_PLUGIN_FUNC_PARAM_LEN 16384
#define XRM_DEVICE_INFO_CONSTRAINT_TYPE_SHIFT 32
#define XRM_DEVICE_INFO_CONSTRAINT_TYPE_VIRTUAL_DEVICE_INDEX 2
#define XRM_LOAD_GRANULARIY_1000000_SHIFT 8
#define XRM_LOAD_GRANULARIY_1000000_MASK 0xFFFFF

extern "C" {

typedef void* xrmContext;

/// A part of one compute unit that a job asks for.
struct xrmCuPropertyV2 {
  char kernelName[XRM_MAX_NAME_LEN];
  char kernelAlias[XRM_MAX_NAME_LEN];
  bool devExcl;         ///< no other job on this device
  uint64_t deviceInfo;  ///< bits 39 to 32: what the index below them means
  uint64_t memoryInfo;
  uint64_t policyInfo;
  int32_t requestLoad;  ///< bits 27 to 8: millionths
  uint64_t poolId;
  uint8_t extData[64];
};

struct xrmCuListPropertyV2 {
  xrmCuPropertyV2 cuProps[XRM_MAX_LIST_CU_NUM_V2];
  int32_t cuNum;
  uint8_t extData[64];
};

struct xrmDeviceIdListPropertyV2 {
  uint64_t deviceIds[XRM_MAX_XILINX_DEVICES];
  int32_t deviceNum;
  uint8_t extData[64];
};

struct xrmCuPoolPropertyV2 {
  xrmCuListPropertyV2 cuListProp;
  int32_t cuListNum;  ///< number of such lists
  uint8_t xclbinUuid[16];
  int32_t xclbinNum;
  xrmDeviceIdListPropertyV2 deviceIdListProp;
  uint8_t extData[64];
};

struct xrmCuResInforV2 {
  uint64_t deviceId;
  uint8_t extData[64];
};

struct xrmCuListResInforV2 {
  xrmCuResInforV2 cuResInfor[XRM_MAX_LIST_CU_NUM_V2];
  int32_t cuNum;
  uint8_t extData[64];
};

struct xrmDeviceListResInforV2 {
  xrmCuResInforV2 deviceResInfor[XRM_MAX_XILINX_DEVICES];
  int32_t deviceNum;
  uint8_t extData[64];
};

/// Where the parts of a pool lie.
struct xrmCuPoolResInforV2 {
  xrmCuListResInforV2 cuListResInfor[XRM_MAX_POOL_CU_LIST_NUM_V2];
  int32_t cuListNum;
  xrmCuResInforV2 xclbinResInfor[XRM_MAX_XILINX_DEVICES];
  int32_t xclbinNum;
  xrmDeviceListResInforV2 deviceListResInfor;
  uint8_t extData[64];
};

/// A question to a plug-in of the manager's, and its answer.
struct xrmPluginFuncParam {
  char input[XRM_MAX_PLUGIN_FUNC_PARAM_LEN];
  char output[XRM_MAX_PLUGIN_FUNC_PARAM_LEN];
};

/// Null on failure.
xrmContext xrmCreateContext(uint32_t xrmApiVersion);
int32_t xrmDestroyContext(xrmContext context);  ///< 0 done
int32_t xrmExecPluginFunc(xrmContext context, char* xrmPluginName, uint32_t funcId,
                          xrmPluginFuncParam* param);  ///< 0 done
/// How many such pools fit; negative on failure.
int32_t xrmCheckCuPoolAvailableNumV2(xrmContext context, xrmCuPoolPropertyV2* cuPoolProp);
/// The pool's id; 0 on failure.
uint64_t xrmCuPoolReserveV2(xrmContext context, xrmCuPoolPropertyV2* cuPoolProp,
                            xrmCuPoolResInforV2* cuPoolResInfor);
bool xrmCuPoolRelinquish(xrmContext context, uint64_t poolId);
}
