// The command channel of the decoders: codes of a decoder's `auxinfo` and the bits of its parse state.
#pragma once

extern "C" {

/// Codes of `auxinfo(decoder, value, code, data, size)`. A code that a decoder doesn't know answers 1.
enum {
  PARSE_INIT = 0x10000,  ///< start of set-up; data: the decoder's configuration record, if it has one
  /// Audio decoders: data is the aud_bfr_tt to fill. Video decoders: parses what was fed since, a whole unit or,
  /// between PARSE_SEQ_HDR and INIT_FRAME_PARSER, bytes in search of a header; answers the state bits and clears
  /// them.
  PARSE_FRAMES = 0x10001,
  PARSE_OPTIONS = 0x10002,      ///< option bits in `value`
  GET_PARSE_STATE = 0x10003,    ///< answers the state bits
  GET_SEQ_PARAMSP = 0x10004,    ///< data: address of a pointer to mc_seq_params_t; not 0: none yet
  GET_PIC_PARAMSP = 0x10006,    ///< data: address of a pointer to the header of the frame now ready
  GET_PIC = 0x10007,            ///< writes a picture into the mc_frame_t in data; field selection in `value`
  SET_USER_DATA = 0x10008,      ///< attaches a record to the bytes fed next
  GET_USER_DATAP = 0x10009,     ///< data: address of a pointer to the record of the picture now ready
  GET_PIC_PARAMSPEX = 0x1000F,  ///< data: address of a pointer to mc_pic_params_ex_t
  CLEAN_PARSE_STATE = 0x10010,  ///< answers the state bits and clears them
  GET_SEQ_PARAMSPEX = 0x10014,  ///< data: address of a pointer to mc_seq_params_ex_t; not 0: none yet
  GET_LAST_PTS = 0x10021,       ///< data: address of a pointer to the time record of the picture now ready
  SET_PIC_PTS = 0x10025,        ///< attaches a time record to the bytes fed next
  PARSE_AUD_HDR = 0x10FFF,      ///< the bytes fed next are parsed for their header alone
  SET_LOOP_FILTER_MODE = 65669,
  SET_DPB_SIZE = 65673,
  SET_MV_PRECISION = 65674,
  SET_OUTPUT_8BIT = 65677,  ///< the H.265 decoder takes its number of temporal layers here
  PARSE_SEQ_HDR = 65971,    ///< parameter sets follow
  SET_CPU_NUM = 65973,
  SET_SMP_MODE = 65975,
  INIT_FRAME_PARSER = 66050,  ///< after the parameter sets; what follows are units, from the first on
  SET_ERROR_CONCEALMENT = 66306,
  HWACC_SET_ACC_MODE = 0x200001,
};

/// Bits of the parse state.
enum {
  PARSE_DONE_FLAG = 1,  ///< a unit is finished
  PARSE_ERR_FLAG = 2,
  SEQ_HDR_FLAG = 0x100,  ///< a sequence header was read
  GOP_HDR_FLAG = 0x400,
  AUD_NO_ROOM_FLAG = 0x1000,  ///< an audio block waits for a larger buffer
  PIC_DECODED_FLAG = 1 << 20,
  PIC_FULL_FLAG = 1 << 21,  ///< both fields are there
  PIC_VALID_FLAG = 1 << 22,
  PIC_ERROR_FLAG = 1 << 24,  ///< damaged and concealed
};
}
