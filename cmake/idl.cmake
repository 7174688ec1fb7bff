# idl/vantrel.idl is the one description of the automation surface.
#   Windows: widl builds vantrel.h, vantrel_i.c and the type library (embedded
#            as a resource); Linux: tools/idlgen builds vantrel.h and
#            vantrel_i.cc in its place, plus the dispatch thunks.
#   Both:    tools/idlgen builds the member tables and the stub base classes.
# Sets VANTREL_IDL_DIR, VANTREL_IDL_SOURCES and (Windows) VANTREL_IDL_RESOURCE.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(VANTREL_IDL_DIR ${CMAKE_BINARY_DIR}/generated)
set(idl_file ${PROJECT_SOURCE_DIR}/idl/vantrel.idl)
file(GLOB idlgen_scripts ${PROJECT_SOURCE_DIR}/tools/idlgen/*.py)
file(MAKE_DIRECTORY ${VANTREL_IDL_DIR})

set(idlgen_common ${VANTREL_IDL_DIR}/vantrel_members.h ${VANTREL_IDL_DIR}/vantrel_members.cc
  ${VANTREL_IDL_DIR}/vantrel_stubs.h)
if(WIN32)
  set(idlgen_target windows)
  set(idlgen_outputs ${idlgen_common})
else()
  set(idlgen_target linux)
  set(idlgen_outputs ${idlgen_common} ${VANTREL_IDL_DIR}/vantrel.h
    ${VANTREL_IDL_DIR}/vantrel_i.cc ${VANTREL_IDL_DIR}/vantrel_dispatch.cc)
endif()
add_custom_command(OUTPUT ${idlgen_outputs}
  COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tools/idlgen/idlgen.py
    --idl ${idl_file} --out ${VANTREL_IDL_DIR} --target ${idlgen_target}
  DEPENDS ${idl_file} ${idlgen_scripts}
  COMMENT "Generating the automation tables from vantrel.idl")
set(VANTREL_IDL_SOURCES ${idlgen_outputs})

if(WIN32)
  # The IDL compiler and the Wine headers and type libraries it imports
  # (oaidl.idl, stdole2.tlb).
  set(VANTREL_WIDL "x86_64-w64-mingw32-widl" CACHE FILEPATH "The widl IDL compiler")
  set(VANTREL_WIDL_INCLUDE_DIR "/usr/include/wine/wine/windows" CACHE PATH
    "Folder of the Windows IDL files widl imports")
  set(VANTREL_WIDL_LIBRARY_DIR "/usr/lib/x86_64-linux-gnu/wine/x86_64-windows" CACHE PATH
    "Folder of the Windows type libraries widl imports")
  set(widl_outputs ${VANTREL_IDL_DIR}/vantrel.h ${VANTREL_IDL_DIR}/vantrel_i.c
    ${VANTREL_IDL_DIR}/vantrel.tlb)
  add_custom_command(OUTPUT ${widl_outputs}
    COMMAND ${VANTREL_WIDL} -I${VANTREL_WIDL_INCLUDE_DIR} -L${VANTREL_WIDL_LIBRARY_DIR}
      -h -H ${VANTREL_IDL_DIR}/vantrel.h -u -U ${VANTREL_IDL_DIR}/vantrel_i.c
      -t -T ${VANTREL_IDL_DIR}/vantrel.tlb ${idl_file}
    WORKING_DIRECTORY ${VANTREL_IDL_DIR}
    DEPENDS ${idl_file}
    COMMENT "Compiling vantrel.idl with widl")
  list(APPEND VANTREL_IDL_SOURCES ${VANTREL_IDL_DIR}/vantrel.h ${VANTREL_IDL_DIR}/vantrel_i.c)
  # The resource script: the type library and the version block.
  configure_file(${PROJECT_SOURCE_DIR}/src/frame/win/vantrel.rc.in
    ${VANTREL_IDL_DIR}/vantrel.rc @ONLY)
  set_source_files_properties(${VANTREL_IDL_DIR}/vantrel.rc PROPERTIES
    OBJECT_DEPENDS ${VANTREL_IDL_DIR}/vantrel.tlb)
  set(VANTREL_IDL_RESOURCE ${VANTREL_IDL_DIR}/vantrel.rc)
endif()
