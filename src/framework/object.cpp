#include <algorithm>
#include <cstring>
#include <vector>

#include "orvx/afx_object.h"

namespace {
// The class registry; a function-local static so that classes registering
// from other translation units' static initialisers always find it built.
std::vector<const CRuntimeClass*>& Registry() {
  static std::vector<const CRuntimeClass*> classes;
  return classes;
}
}  // namespace

const CRuntimeClass CObject::classCObject = {"CObject", static_cast<int>(sizeof(CObject)), 0xFFFF, nullptr, nullptr};

const CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }
CObject::~CObject() = default;
void CObject::Serialize(CArchive&) {}
void CObject::AssertValid() const {}
void CObject::Dump(CDumpContext&) const {}

bool CObject::IsKindOf(const CRuntimeClass* cls) const { return GetRuntimeClass()->IsDerivedFrom(cls); }
bool CObject::IsSerializable() const { return GetRuntimeClass()->m_wSchema != 0xFFFF; }

CObject* CRuntimeClass::CreateObject() const { return m_pfnCreateObject ? m_pfnCreateObject() : nullptr; }

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
  for (const CRuntimeClass* c = this; c; c = c->m_pBaseClass)
    if (c == base) return true;
  return false;
}

const CRuntimeClass* CRuntimeClass::FromName(std::string_view className) {
  const auto& classes = Registry();
  const auto it = std::find_if(classes.begin(), classes.end(),
                               [&](const CRuntimeClass* c) { return className == c->m_lpszClassName; });
  return it == classes.end() ? nullptr : *it;
}

CObject* CRuntimeClass::CreateObject(std::string_view className) {
  const CRuntimeClass* cls = FromName(className);
  return cls ? cls->CreateObject() : nullptr;
}

void CRuntimeClass::Register(const CRuntimeClass* cls) {
  auto& classes = Registry();
  if (std::find(classes.begin(), classes.end(), cls) == classes.end()) classes.push_back(cls);
}
