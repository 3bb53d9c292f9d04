// Supported and unsupported model lists, read from the machine hive.
#pragma once

#include "orvx/afx_coll.h"
#include "orvx/afx_object.h"
#include "orvx/afx_registry.h"
#include "orvx/afx_string.h"
#include "orvx/export.h"

// One list entry: a model name and its support state.
class ORVX_API CSMModelInfo : public CObject {
 public:
  CSMModelInfo() = default;
  ~CSMModelInfo() override;

  const CString& GetModelName() const { return modelName_; }
  void SetModelName(const char* name) { modelName_ = name; }
  DWORD GetState() const { return state_; }
  void SetState(DWORD state) { state_ = state; }
  // Whether the state allows the interface (1 to 5) on that platform.
  int IsIFSupported(DWORD interfaceNumber, DWORD platformId) const;

 private:
  DWORD state_ = 0;
  CString modelName_;
};

class ORVX_API CSupportedModel {
 public:
  // listMode nonzero: the lists are read once (now) and answered from memory;
  // 0: every question reads the registry.
  explicit CSupportedModel(int listMode = 1);
  CSupportedModel(const CSupportedModel&) = delete;
  CSupportedModel& operator=(const CSupportedModel&) = delete;
  virtual ~CSupportedModel();

  // Replaces the whole path below HKEY_LOCAL_MACHINE; a null or empty path changes nothing.
  void SetRegistoryPath(const char* path);
  int IsSupportedModel(const char* modelName, DWORD interfaceNumber);
  // 0 supported, 0x80000001 not supported, 0x80000002 listed as unsupported.
  LONG CheckModel(const char* modelName, DWORD interfaceNumber);

  static constexpr LONG kSupported = 0;
  static constexpr LONG kNotSupported = static_cast<LONG>(0x80000001u);
  static constexpr LONG kListedUnsupported = static_cast<LONG>(0x80000002u);

 protected:
  CSMModelInfo* Find(const char* modelName);
  int LoadFromRegistory();
  void Purge();

 private:
  int m_nListMode;
  CObList m_SupportedList;
  CObList m_UnsupportedList;
  CString m_strRegistryPath;
  OSVERSIONINFOA m_osVersion{};
};
