// CObject and CRuntimeClass: the framework's base object with run-time class
// information, dynamic creation by class name and a serialization schema.
#pragma once

#include <string_view>

#include "orvx/afx_types.h"
#include "orvx/export.h"

class CArchive;
class CObject;

// Debug dump target; the library's objects dump nothing.
class ORVX_API CDumpContext {};

struct ORVX_API CRuntimeClass {
  const char* m_lpszClassName;
  int m_nObjectSize;
  UINT m_wSchema;  // 0xFFFF: creatable but not serializable
  CObject* (*m_pfnCreateObject)();
  const CRuntimeClass* m_pBaseClass;

  // A new object of this class, or null when the class is not creatable.
  CObject* CreateObject() const;
  bool IsDerivedFrom(const CRuntimeClass* base) const;

  // The registered class of that name, or null.
  static const CRuntimeClass* FromName(std::string_view className);
  // A new object of the registered class of that name, or null.
  static CObject* CreateObject(std::string_view className);
  // Called once per class by static initialisation.
  static void Register(const CRuntimeClass* cls);
};

class ORVX_API CObject {
 public:
  static const CRuntimeClass classCObject;

  // The order of these virtual functions is part of the host interface.
  virtual const CRuntimeClass* GetRuntimeClass() const;
  virtual ~CObject();
  virtual void Serialize(CArchive& ar);
  virtual void AssertValid() const;
  virtual void Dump(CDumpContext& dc) const;

  bool IsKindOf(const CRuntimeClass* cls) const;
  bool IsSerializable() const;

 protected:
  CObject() = default;
  CObject(const CObject&) = default;
  CObject& operator=(const CObject&) = default;
};

// Declares the run-time class, dynamic creation and class registration.
#define ORVX_DECLARE_DYNCREATE(class_name)              \
 public:                                               \
  static const CRuntimeClass class##class_name;        \
  const CRuntimeClass* GetRuntimeClass() const override; \
  static CObject* CreateObject();

#define ORVX_IMPLEMENT_DYNCREATE(class_name, base_name, schema)                        \
  CObject* class_name::CreateObject() { return new class_name; }                      \
  const CRuntimeClass class_name::class##class_name = {                               \
      #class_name, static_cast<int>(sizeof(class_name)), (schema),                    \
      &class_name::CreateObject, &base_name::class##base_name};                       \
  const CRuntimeClass* class_name::GetRuntimeClass() const { return &class##class_name; } \
  namespace {                                                                          \
  [[maybe_unused]] const bool registered_##class_name =                                \
      (CRuntimeClass::Register(&class_name::class##class_name), true);                 \
  }
