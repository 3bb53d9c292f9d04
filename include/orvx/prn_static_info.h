// The model record CPrnStaticInfo and the tray records COptInTray / COptOutTray.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "orvx/afx_coll.h"
#include "orvx/afx_file.h"
#include "orvx/afx_object.h"
#include "orvx/afx_string.h"
#include "orvx/export.h"

// The numeric fields of a model record, in declaration order. Kept together in
// one standard-layout struct so that serialization, the information keys and
// the copy can all be driven by one table of offsets (see record_fields.h).
struct PrnStaticFields {
  WORD VenderID = 0;
  WORD ModelGroupID = 0;
  BYTE IconBaseIdx = 0;
  DWORD Flags = 0;
  std::int8_t Info0108 = -1;
  BYTE SpareByte = 0;
  std::int8_t Info0105 = -1;
  std::int8_t Info0301 = 0;
  std::int8_t Info0608 = 0;
  std::int8_t Info0A01 = 0;
  std::int8_t Info0A02 = 0;
  std::int8_t Info0A03 = 0;
  std::int8_t Info0305 = 0;
  std::int8_t Info0C01 = 0;
  std::int8_t Info0C02 = 0;
  std::int8_t Info0302 = -1;
  std::int8_t Info0303 = -1;
  std::int8_t Info0304 = 0;
  std::int8_t Info0203 = 0;
  std::int8_t Info0A04 = 0;
  std::int8_t Info0308 = -1;
  std::int8_t Info20000 = -1;
  std::int8_t Info0401 = 0;
  std::int8_t Info0501 = 0;
  std::int8_t Info30000 = -1;
  BYTE Info040A = 0xFF;  // 0xFF: not set
  std::int8_t Info0B02 = 0;
  std::int8_t Info0B03 = 0;
  std::int8_t Info0705 = 0;
  std::int8_t Info0B01 = 0;
  std::int8_t Info10000 = 0;
  std::int8_t Info70000 = -1;
  std::int8_t Info0707 = -1;
  std::int8_t Info0711 = -1;
  WORD Info0D08 = 0;
  std::int8_t Info0B0A = 0;
  DWORD Info1200000 = 0;
  DWORD Info1210000 = 0;
  DWORD Info1220000 = 0;
  DWORD Info1230000 = 0;
  BYTE Info220000 = 0;
  BYTE Info230000 = 0;
  BYTE Info310000 = 0;
  BYTE Info1310000 = 0;
  BYTE Info1320000 = 0;
  BYTE Info1330000 = 0;
  BYTE Info0110 = 0;
  BYTE Info0B0C = 0;
  std::int16_t Info1400000 = 0;
  BYTE Info1134 = 0;
  WORD BasedModelGroupID = 0;
  std::int8_t Info1510000 = 0;
  std::int8_t Info0B05 = -1;
  WORD Info1520000 = 0;
  std::int16_t Info1530000 = 0;
  WORD Info1610000 = 0;
  WORD Info1620000 = 0;
};

class ORVX_API COptInTray : public CObject {
  ORVX_DECLARE_DYNCREATE(COptInTray)
 public:
  COptInTray() = default;
  ~COptInTray() override;
  void Serialize(CArchive& ar) override;

  const CString& GetName() const { return Name; }
  void SetName(const char* name) { Name = name; }
  // Loads the host's string resource `id`; no such string leaves the name empty.
  void SetName(UINT id) { Name.LoadString(id); }
  const CString& GetDescription() const { return Description; }
  void SetDescription(const CString& text) { Description = text; }
  int GetID() const { return ID; }
  void SetID(int id) { ID = id; }
  int GetAddUnit() const { return AddUnit; }
  void SetAddUnit(int v) { AddUnit = v; }
  int GetTrayIndex() const { return TrayIndex; }
  void SetTrayIndex(int v) { TrayIndex = static_cast<std::int8_t>(v); }
  int GetPaperLevel() const { return PaperLevel; }
  void SetPaperLevel(int v) { PaperLevel = v; }
  int GetPaperMax() const { return PaperMax; }
  void SetPaperMax(int v) { PaperMax = v; }
  int GetGroup() const { return Group; }
  void SetGroup(int v) { Group = static_cast<std::int8_t>(v); }
  int GetTrayLabelIdx() const { return TrayLabelIdx; }
  void SetTrayLabelIdx(int v) { TrayLabelIdx = static_cast<std::int8_t>(v); }
  DWORD GetPaperSize() const { return PaperSize; }
  void SetPaperSize(DWORD v) { PaperSize = v; }

 private:
  CString Name;
  CString Description;
  std::int32_t ID = -1;
  std::int32_t AddUnit = 0;
  std::int8_t TrayIndex = 0;
  std::int32_t PaperLevel = -1;
  std::int32_t PaperMax = -1;
  std::int8_t Group = -1;
  std::int8_t TrayLabelIdx = 0;
  DWORD PaperSize = 0;
};

class ORVX_API COptOutTray : public CObject {
  ORVX_DECLARE_DYNCREATE(COptOutTray)
 public:
  COptOutTray() = default;
  ~COptOutTray() override;
  void Serialize(CArchive& ar) override;

  const CString& GetName() const { return Name; }
  void SetName(const char* name) { Name = name; }
  int GetID() const { return ID; }
  void SetID(int id) { ID = id; }
  int GetDerivery() const { return Derivery; }
  // Only 3 and 4 are kept; anything else means the default delivery 2.
  void SetDerivery(int v) { Derivery = static_cast<std::int8_t>(v == 3 || v == 4 ? v : 2); }
  int GetTrayIndex() const { return TrayIndex; }
  void SetTrayIndex(int v) { TrayIndex = static_cast<std::int8_t>(v); }
  int GetAddUnit() const { return AddUnit; }
  void SetAddUnit(int v) { AddUnit = v; }

 private:
  CString Name;
  std::int32_t ID = -1;
  std::int8_t Derivery = 2;
  std::int8_t TrayIndex = 0;
  std::int32_t AddUnit = 0;
};

namespace orvx::detail {
struct NameWatch;
}

class ORVX_API CPrnStaticInfo : public CObject {
  ORVX_DECLARE_DYNCREATE(CPrnStaticInfo)
 public:
  CPrnStaticInfo();
  CPrnStaticInfo(const CPrnStaticInfo&) = delete;
  CPrnStaticInfo& operator=(const CPrnStaticInfo&) = delete;
  ~CPrnStaticInfo() override;
  void Serialize(CArchive& ar) override;

  // ---- virtual slots, in the order the host calls them -----------------------
  virtual DWORD GetPictureID(CStringList& inTrayNames, CStringList& outTrayNames, int duplexUnit, int outputUnit);
  virtual DWORD GetPictureID(CPtrArray& inTrays, CPtrArray& outTrays, int duplexUnit, int outputUnit);
  virtual DWORD GetPictureIDEx(CStringList& inTrayNames, CStringList& outTrayNames, CStringList& optionNames,
                               CStringList& docOptionNames);
  virtual DWORD GetPictureIDEx(CPtrArray& inTrays, CPtrArray& outTrays, CStringList& optionNames,
                               CStringList& docOptionNames);
  virtual const CString& GetModelName() const;
  virtual int GetVenderID() const;
  virtual int GetModelGroupID() const;
  virtual int GetBasedModelGroupID() const;
  virtual int GetIconBaseIdx() const;
  virtual int IXDuplexer() const;
  virtual int IXMediaPath() const;
  virtual int IsDetailPropPage() const;
  virtual int IsColorPrinter() const;
  virtual int IsOldTypePrinter() const;
  virtual int IsHddJobEnable() const;
  virtual int IsVantorPrinter() const;
  virtual int IsVantorOEMPrinter() const;
  virtual int IsVantorSelbyCopier() const;
  virtual int IsVantorSelbyOEMCopier() const;
  virtual int IsVantorSelbyMFP() const;
  virtual int IsVantorSelbyADF() const;
  virtual int IsVantorSelbyTidelinePrinter() const;
  virtual int SetInfoQuery(DWORD key, DWORD value);

  // ---- plain members ---------------------------------------------------------
  void SetModelName(CString name);
  void SetVenderID(WORD id) { F.VenderID = id; }
  void SetModelGroupID(WORD id) { F.ModelGroupID = id; }
  void SetBasedModelGroupID(WORD id) { F.BasedModelGroupID = id; }
  void SetIconBaseIdx(int idx) { F.IconBaseIdx = static_cast<BYTE>(idx); }
  // Derives VenderID from the first two characters ("GQ" → 1, ...) and
  // ModelGroupID from the last two, read as a decimal number.
  void SetPicNameHead(CString head);
  // Frees the size-list block; the record stays usable.
  void Close();

  void SetIXDuplexer(int on);
  void SetIXMediaPath(int on);
  void SetDetailPropPage(int on);
  void SetColorPrinter(int on);
  void SetOldTypePrinter(int on);
  void SetHddJobEnable(int on);
  void SetVantorPrinter(int on);
  void SetVantorOEMPrinter(int on);
  void SetVantorSelbyCopier(int on);
  void SetVantorSelbyOEMCopier(int on);
  void SetVantorSelbyMFP(int on);
  void SetVantorSelbyADF(int on);
  void SetVantorSelbyTidelinePrinter(int on);

  // The value stored under an information key, widened as the key's field
  // says; -1 for a key that names no field.
  int GetInfo(DWORD key) const;
  // Makes this record a copy of `source` (self-copy included).
  void CopyParam(const CPrnStaticInfo* source);

  // Size lists: the tray's list by number or by name, or the whole block.
  // A null `out` only reports the length.
  int GetInTraySPSZSizeList(int trayNumber, BYTE* out) const;
  int GetInTraySPSZSizeList(const char* trayName, BYTE* out) const;
  int GetInTraySPSZSizeList(BYTE* out) const;
  // Replaces the whole block with `length` bytes of `source`.
  int SetInTraySPSZSizeList(int length, const BYTE* source);

  // Read access to the numeric fields for tools (serialization layout, JSON).
  const PrnStaticFields& Fields() const { return F; }
  PrnStaticFields& Fields() { return F; }

 protected:
  // One rule function per model group; GetPictureID / GetPictureIDEx choose
  // among them by vendor and group.
#define ORVX_CLASSIC(name, printer, copier) \
  DWORD GetOptionFlag_##name(CPtrArray& inTrays, CPtrArray& outTrays, int duplexUnit, int outputUnit);
#define ORVX_CLASSIC_DUPLEX(name, printer, copier) \
  DWORD GetOptionFlag_##name(CPtrArray& inTrays, CPtrArray& outTrays, int duplexUnit);
#define ORVX_EXTENDED(name, printer, copier) \
  DWORD GetOptionFlagEx_##name(CPtrArray& inTrays, CPtrArray& outTrays, CStringList& optionNames);
#define ORVX_EXTENDED_DOCS(name, printer, copier)                                                        \
  DWORD GetOptionFlagEx_##name(CPtrArray& inTrays, CPtrArray& outTrays, CStringList& optionNames, \
                               CStringList& docOptionNames);
#define ORVX_CLASSIC_FIXED(result, printer, copier)
#include "orvx/picture_rules.inc"

 private:
  void SetFlag(DWORD mask, int on) { F.Flags = on ? (F.Flags | mask) : (F.Flags & ~mask); }
  // The block's length; the block always holds exactly as many bytes as its
  // own first byte says.
  int BlockLength() const { return InTraySPSZSizeList ? InTraySPSZSizeList[0] : 0; }

  CString ModelName;
  PrnStaticFields F;
  std::unique_ptr<BYTE[]> InTraySPSZSizeList;
  // The rename counter of the lookup index that read the name, so that a
  // rename tells that index alone.
  friend struct orvx::detail::NameWatch;
  mutable std::atomic<std::atomic<std::uint64_t>*> nameWatch_{nullptr};
};
