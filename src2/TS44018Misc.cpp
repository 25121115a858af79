// The channel numbers (ARFCN) of the elements of TS 44.018 that list channels, for callers who have decoded such an
// element. A frequency list has up to six formats (10.5.2.13.1); the record keeps the list as bits under the format
// that the decoder has found. What stands here finds format, bits and count in each of seven records; rtx3GPPDecARFCN
// (rtx3GPPArfcn.cpp) turns the bits into numbers. Nothing is changed in the record; the array is on the context's heap.
#include "velnor3gpp/TS44018Misc.h"

#include <cstdio>

#include "velnor3gpp/rtx3GPPArfcn.h"
#include "velnor3gpp/rtxError.h"

namespace {

// Where an element has its list: the format, the first octet, and how many bits.
struct Coded {
  uint8_t format = 0;
  const uint8_t* data = nullptr;
  size_t bits = 0;
};

constexpr uint8_t kNoFormat = 255;

// The list behind the second stage of the format code. Range 1024 has the code 10..0, the others 10..100 to 10..111:
// two bits more of code, so two bits less of list. The number of the alternative is that of the format. All
// alternatives are arrays of octets at the same place of a union, so the first stands for all.
template <typename Formats> Coded inFormats(const Formats& formats, size_t bits)
{
  if (formats.t < RTX_3GPP_ARFCN_RANGE_1024 || formats.t > RTX_3GPP_ARFCN_VARIABLE_BITMAP) return {kNoFormat};
  size_t shorter = formats.t == RTX_3GPP_ARFCN_RANGE_1024 ? 0 : 2;
  return {static_cast<uint8_t>(formats.t), formats.u.range_1024, bits - shorter};
}

// A frequency list has a length, so its bits are counted in the record instead of known from the type.
Coded inFormats(const TS44018IE_Frequency_List_choice_2_component_2& formats, size_t)
{
  if (formats.t < RTX_3GPP_ARFCN_RANGE_1024 || formats.t > RTX_3GPP_ARFCN_VARIABLE_BITMAP) return {kNoFormat};
  return {static_cast<uint8_t>(formats.t), formats.u.range_1024.data, formats.u.range_1024.numbits};
}

// An element with bitmap 0 (124 channels, GSM 900) as its first alternative and the other formats as its second.
template <typename Element, typename Formats> Coded inElement(const Element& element, const Formats& formats)
{
  if (element.t == 1) return {RTX_3GPP_ARFCN_BITMAP_0, element.u.bitmap0.bitmap0, 124};
  return element.t == 2 ? inFormats(formats, 123) : Coded{kNoFormat};
}

// A count of bits that rtx3GPPDecARFCN cannot take, 65,536 or more, is refused like an unknown format.
int decode(RtxContext* pctxt, const Coded& coded, uint16_t** pArfcns, uint16_t* pArfcnCount)
{
  constexpr const char* kModule = "TS44018Misc";
  if (coded.format == kNoFormat || coded.bits > UINT16_MAX)
    return rtxErrSetData(pctxt, RTX_E_BAD_VALUE, kModule, __LINE__);
  int status =
      rtx3GPPDecARFCN(pctxt, coded.format, coded.data, static_cast<uint16_t>(coded.bits), pArfcns, pArfcnCount);
  return status < 0 ? rtxErrSetData(pctxt, status, kModule, __LINE__) : status;
}

} // namespace

// One exported function for each element. A macro, because seven functions differ in nothing but a type and an
// expression, and their names are made of the type's. 67 and 51 are the bits of range 1024 in the two short lists.
#define VELNOR_DECODE_ARFCN(ELEMENT, CODED)                                                                            \
  int TS44018IE_##ELEMENT##_decodeARFCN(RtxContext* pctxt, const TS44018IE_##ELEMENT* pvalue, uint16_t** pArfcns,      \
                                        uint16_t* pArfcnCount)                                                         \
  {                                                                                                                    \
    if (!pvalue) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, "TS44018Misc", __LINE__);                            \
    return decode(pctxt, CODED, pArfcns, pArfcnCount);                                                                 \
  }
VELNOR_DECODE_ARFCN(Cell_Channel_Description, inElement(*pvalue, pvalue->u.choice_2.component_2))
VELNOR_DECODE_ARFCN(Extended_Measurement_Frequency_List, inElement(*pvalue, pvalue->u.choice_2.component_3))
VELNOR_DECODE_ARFCN(Neighbour_Cell_Description, inElement(*pvalue, pvalue->u.choice_2.component_3))
VELNOR_DECODE_ARFCN(Neighbour_Cell_Description_2, inElement(*pvalue, pvalue->u.choice_2.component_3))
VELNOR_DECODE_ARFCN(Frequency_List, inElement(*pvalue, pvalue->u.choice_2.component_2))
VELNOR_DECODE_ARFCN(Frequency_Short_List, inFormats(pvalue->component_3, 67))
VELNOR_DECODE_ARFCN(Frequency_Short_List_2, inFormats(pvalue->component_3, 51))
#undef VELNOR_DECODE_ARFCN

// Prints to standard output, as the header says; a failure of that is nobody's to report.
void TS44018IE_printArfcns(const uint16_t* arfcns, uint16_t count)
{
  (void)printf("[");
  for (unsigned i = 0; arfcns && i < count; ++i) (void)printf("%u%s", arfcns[i], i + 1U < count ? "," : "");
  (void)printf("]");
}
