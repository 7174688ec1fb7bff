#include "frame/posix/type_records.h"

#include <deque>
#include <vector>

namespace vantrel::frame {
namespace {

// Slots of IUnknown and IDispatch that precede a dual interface's own members.
constexpr WORD kDispatchVtableSlots = 7;

// One allocation per FUNCDESC: the record, its parameters and the type
// descriptions they point to.
struct FuncDescBlock : FUNCDESC {
  std::vector<ELEMDESC> parameters;
  std::deque<TYPEDESC> pointees;  // a deque keeps their addresses stable
};

// VT_BYREF | X becomes VT_PTR to X and VT_ARRAY | X VT_SAFEARRAY of X, as a
// type library writes them.
void Describe(VARTYPE type, TYPEDESC* desc, std::deque<TYPEDESC>* pointees) {
  VARTYPE flag = 0;
  if ((type & VT_BYREF) != 0) {
    flag = VT_BYREF;
    desc->vt = VT_PTR;
  } else if ((type & VT_ARRAY) != 0) {
    flag = VT_ARRAY;
    desc->vt = VT_SAFEARRAY;
  } else {
    desc->vt = type;
    return;
  }
  desc->lptdesc = &pointees->emplace_back();
  Describe(static_cast<VARTYPE>(type & ~flag), desc->lptdesc, pointees);
}

VARTYPE FunctionType(const idl::Interface& iface, const idl::Member& member) {
  if (member.result_type != VT_EMPTY) return member.result_type;
  return iface.dual ? VT_VOID : VT_HRESULT;
}

}  // namespace

size_t InputCount(const idl::Member& member) {
  size_t count = 0;
  for (const idl::Parameter& parameter : member.parameters) {
    if ((parameter.flags & PARAMFLAG_FRETVAL) == 0) ++count;
  }
  return count;
}

TYPEATTR* NewTypeAttr(const idl::Interface& iface) {
  auto* attr = new TYPEATTR{};
  attr->guid = *iface.iid;
  attr->memidConstructor = MEMBERID_NIL;
  attr->memidDestructor = MEMBERID_NIL;
  attr->cbSizeInstance = sizeof(void*);
  attr->typekind = TKIND_DISPATCH;
  attr->cFuncs = static_cast<WORD>(iface.members.size());
  attr->cImplTypes = 1;  // IDispatch
  attr->cbSizeVft = kDispatchVtableSlots * sizeof(void*);
  attr->cbAlignment = alignof(void*);
  attr->wTypeFlags = iface.dual ? TYPEFLAG_FDUAL | TYPEFLAG_FDISPATCHABLE : TYPEFLAG_FDISPATCHABLE;
  attr->tdescAlias.vt = VT_EMPTY;
  return attr;
}

void FreeTypeAttr(TYPEATTR* attr) { delete attr; }

FUNCDESC* NewFuncDesc(const idl::Interface& iface, const idl::Member& member) {
  auto* block = new FuncDescBlock{};
  const size_t inputs = InputCount(member);
  block->parameters.resize(inputs);
  SHORT optional = 0;
  for (size_t i = 0; i < inputs; ++i) {
    const idl::Parameter& parameter = member.parameters[i];
    Describe(parameter.type, &block->parameters[i].tdesc, &block->pointees);
    block->parameters[i].paramdesc.wParamFlags = parameter.flags;
    if ((parameter.flags & PARAMFLAG_FOPT) != 0) ++optional;
  }
  block->memid = member.dispid;
  block->lprgelemdescParam = inputs == 0 ? nullptr : block->parameters.data();
  block->funckind = FUNC_DISPATCH;
  block->invkind = member.kind;
  block->callconv = CC_STDCALL;
  block->cParams = static_cast<SHORT>(inputs);
  block->cParamsOpt = optional;
  block->oVft = iface.dual ? static_cast<SHORT>(member.vtable_slot * sizeof(void*)) : 0;
  Describe(FunctionType(iface, member), &block->elemdescFunc.tdesc, &block->pointees);
  block->wFuncFlags = member.flags;
  return block;
}

void FreeFuncDesc(FUNCDESC* desc) { delete static_cast<FuncDescBlock*>(desc); }

}  // namespace vantrel::frame
