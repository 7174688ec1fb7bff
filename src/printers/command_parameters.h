// The options and answers of one Printer.Command call: a property bag a
// client fills (ParentWindow, Execute) and Command writes back (IsSupported
// and the three requirements). It has no behaviour of its own.
#pragma once

#include <cstdint>

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

// What Command reads before it runs: the owner window for any dialog of the
// driver (0: none) and whether to carry the command out or only ask.
struct CommandInputs {
  uint64_t owner_window = 0;
  bool execute = true;
};

// What Command writes back.
struct CommandAnswers {
  bool is_supported = false;
  bool has_user_interface = false;
  bool requires_bidirectional_port = false;
  bool requires_management_rights = false;
};

class CommandParameters
    : public frame::AutomationObject<ICommandParametersStubs, IID_ICommandParameters,
                                     CLSID_CommandParameters> {
 public:
  // The window handle as a VT_I4 when it fits in 32 signed bits, else VT_I8.
  // The put takes VT_I4, VT_INT (sign-widened), VT_UI4, VT_UINT
  // (zero-widened), VT_I8 or VT_UI8, also by reference; any other variant is
  // ignored and the put still succeeds. A new object holds 0.
  STDMETHODIMP get_ParentWindow(VARIANT* retParentWindow) override;
  STDMETHODIMP put_ParentWindow(VARIANT argParentWindow) override;
  // Each getter returns what its setter stored, unchecked. A new object holds
  // Execute true, so that passing it unchanged runs the command as passing
  // none does, and every answer false.
  STDMETHODIMP get_Execute(VARIANT_BOOL* retExecute) override;
  STDMETHODIMP put_Execute(VARIANT_BOOL argExecute) override;
  STDMETHODIMP get_IsSupported(VARIANT_BOOL* retIsSupported) override;
  STDMETHODIMP put_IsSupported(VARIANT_BOOL argIsSupported) override;
  STDMETHODIMP get_RequiresBidirectionalPort(VARIANT_BOOL* retRequiresBidirectionalPort) override;
  STDMETHODIMP put_RequiresBidirectionalPort(VARIANT_BOOL argRequiresBidirectionalPort) override;
  STDMETHODIMP get_HasUserInterface(VARIANT_BOOL* retHasUserInterface) override;
  STDMETHODIMP put_HasUserInterface(VARIANT_BOOL argHasUserInterface) override;
  STDMETHODIMP get_RequiresManagementRights(VARIANT_BOOL* retRequiresManagementRights) override;
  STDMETHODIMP put_RequiresManagementRights(VARIANT_BOOL argRequiresManagementRights) override;

  // Reads ParentWindow and Execute of any parameters object through its
  // interface (a ParentWindow that is not an integer counts as no window;
  // Execute is on unless VARIANT_FALSE).
  static CommandInputs ReadInputs(ICommandParameters& parameters);
  // Writes the answers through the interface, in the order IsSupported,
  // HasUserInterface, RequiresBidirectionalPort, RequiresManagementRights.
  // Both throw OStdException when the object refuses a call, and call into
  // `parameters`, so no lock of the caller's may be held. Any thread.
  static void WriteAnswers(ICommandParameters& parameters, const CommandAnswers& answers);

 private:
  uint64_t parent_window_ GUARDED_BY(critical_section()) = 0;
  VARIANT_BOOL execute_ GUARDED_BY(critical_section()) = VARIANT_TRUE;
  VARIANT_BOOL is_supported_ GUARDED_BY(critical_section()) = VARIANT_FALSE;
  VARIANT_BOOL requires_bidirectional_port_ GUARDED_BY(critical_section()) = VARIANT_FALSE;
  VARIANT_BOOL has_user_interface_ GUARDED_BY(critical_section()) = VARIANT_FALSE;
  VARIANT_BOOL requires_management_rights_ GUARDED_BY(critical_section()) = VARIANT_FALSE;
};

}  // namespace vantrel
