#include "printers/command_parameters.h"

#include <optional>

#include "driver/automation_values.h"
#include "frame/class_table.h"
#include "support/synchronizer.h"

namespace vantrel {
namespace {

// The window handle an integer variant holds, also by reference; nothing for
// any other variant. Signed 32-bit values widen with their sign, so a handle
// read back as VT_I4 comes out as it went in.
std::optional<uint64_t> WindowHandleOf(const VARIANT& given) {
  VARIANT value;
  VariantInit(&value);
  // Windows declares the source non-const; it is only read.
  if (FAILED(VariantCopyInd(&value, const_cast<VARIANT*>(&given)))) return std::nullopt;
  std::optional<uint64_t> handle;
  switch (V_VT(&value)) {
    case VT_I4:
      handle = static_cast<uint64_t>(int64_t{V_I4(&value)});
      break;
    case VT_INT:
      handle = static_cast<uint64_t>(int64_t{V_INT(&value)});
      break;
    case VT_UI4:
      handle = uint64_t{V_UI4(&value)};
      break;
    case VT_UINT:
      handle = uint64_t{V_UINT(&value)};
      break;
    case VT_I8:
      handle = static_cast<uint64_t>(V_I8(&value));
      break;
    case VT_UI8:
      handle = V_UI8(&value);
      break;
    default:
      break;
  }
  VariantClear(&value);
  return handle;
}

// VT_I4 where the handle fits, which every scripting language can hold.
void WindowHandleToVariant(uint64_t handle, VARIANT* out) {
  VariantInit(out);
  const auto value = static_cast<int64_t>(handle);
  if (value >= INT32_MIN && value <= INT32_MAX) {
    V_VT(out) = VT_I4;
    V_I4(out) = static_cast<LONG>(value);
  } else {
    V_VT(out) = VT_I8;
    V_I8(out) = value;
  }
}

VARIANT_BOOL ToVariantBool(bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; }

}  // namespace

CommandInputs CommandParameters::ReadInputs(ICommandParameters& parameters) {
  VARIANT window;
  VariantInit(&window);
  CheckPropertyAccess(parameters.get_ParentWindow(&window), "CommandParameters.ParentWindow");
  CommandInputs inputs;
  inputs.owner_window = WindowHandleOf(window).value_or(0);
  VariantClear(&window);
  VARIANT_BOOL execute = VARIANT_TRUE;
  CheckPropertyAccess(parameters.get_Execute(&execute), "CommandParameters.Execute");
  inputs.execute = execute != VARIANT_FALSE;
  return inputs;
}

void CommandParameters::WriteAnswers(ICommandParameters& parameters,
                                     const CommandAnswers& answers) {
  CheckPropertyAccess(parameters.put_IsSupported(ToVariantBool(answers.is_supported)),
                      "CommandParameters.IsSupported");
  CheckPropertyAccess(parameters.put_HasUserInterface(ToVariantBool(answers.has_user_interface)),
                      "CommandParameters.HasUserInterface");
  CheckPropertyAccess(
      parameters.put_RequiresBidirectionalPort(ToVariantBool(answers.requires_bidirectional_port)),
      "CommandParameters.RequiresBidirectionalPort");
  CheckPropertyAccess(
      parameters.put_RequiresManagementRights(ToVariantBool(answers.requires_management_rights)),
      "CommandParameters.RequiresManagementRights");
}

STDMETHODIMP CommandParameters::get_ParentWindow(VARIANT* retParentWindow) {
  return Member("CommandParameters::get_ParentWindow", [&] {
    if (retParentWindow == nullptr) frame::Throw(frame::kInvalidArgument);
    OLock lock(critical_section());
    WindowHandleToVariant(parent_window_, retParentWindow);
  });
}

STDMETHODIMP CommandParameters::put_ParentWindow(VARIANT argParentWindow) {
  return Member("CommandParameters::put_ParentWindow", [&] {
    const std::optional<uint64_t> handle = WindowHandleOf(argParentWindow);
    if (!handle) return;
    OLock lock(critical_section());
    parent_window_ = *handle;
  });
}

STDMETHODIMP CommandParameters::get_Execute(VARIANT_BOOL* retExecute) {
  return GetField("CommandParameters::get_Execute", &execute_, retExecute);
}
STDMETHODIMP CommandParameters::put_Execute(VARIANT_BOOL argExecute) {
  return PutField("CommandParameters::put_Execute", &execute_, argExecute);
}

STDMETHODIMP CommandParameters::get_IsSupported(VARIANT_BOOL* retIsSupported) {
  return GetField("CommandParameters::get_IsSupported", &is_supported_, retIsSupported);
}
STDMETHODIMP CommandParameters::put_IsSupported(VARIANT_BOOL argIsSupported) {
  return PutField("CommandParameters::put_IsSupported", &is_supported_, argIsSupported);
}

STDMETHODIMP CommandParameters::get_RequiresBidirectionalPort(
    VARIANT_BOOL* retRequiresBidirectionalPort) {
  return GetField("CommandParameters::get_RequiresBidirectionalPort", &requires_bidirectional_port_,
                  retRequiresBidirectionalPort);
}
STDMETHODIMP CommandParameters::put_RequiresBidirectionalPort(
    VARIANT_BOOL argRequiresBidirectionalPort) {
  return PutField("CommandParameters::put_RequiresBidirectionalPort", &requires_bidirectional_port_,
                  argRequiresBidirectionalPort);
}

STDMETHODIMP CommandParameters::get_HasUserInterface(VARIANT_BOOL* retHasUserInterface) {
  return GetField("CommandParameters::get_HasUserInterface", &has_user_interface_,
                  retHasUserInterface);
}
STDMETHODIMP CommandParameters::put_HasUserInterface(VARIANT_BOOL argHasUserInterface) {
  return PutField("CommandParameters::put_HasUserInterface", &has_user_interface_,
                  argHasUserInterface);
}

STDMETHODIMP CommandParameters::get_RequiresManagementRights(
    VARIANT_BOOL* retRequiresManagementRights) {
  return GetField("CommandParameters::get_RequiresManagementRights", &requires_management_rights_,
                  retRequiresManagementRights);
}
STDMETHODIMP CommandParameters::put_RequiresManagementRights(
    VARIANT_BOOL argRequiresManagementRights) {
  return PutField("CommandParameters::put_RequiresManagementRights", &requires_management_rights_,
                  argRequiresManagementRights);
}

VANTREL_CLASS_CREATOR(CommandParameters)

}  // namespace vantrel
