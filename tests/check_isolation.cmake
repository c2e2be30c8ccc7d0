# The copies of the fast kernels built for one instruction-set level must not
# define any symbol another translation unit could also define: every weak or
# unique symbol (inline functions, template instantiations) must live in that
# level's own namespace, or the linker could hand the level's code to callers that
# run on a CPU without it.
set(bad "")
string(REPLACE "|" ";" objects "${OBJECTS}")
foreach(obj IN LISTS objects)
  execute_process(COMMAND nm -C --defined-only ${obj} OUTPUT_VARIABLE out RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "nm failed on ${obj}")
  endif()
  string(REGEX MATCHALL "[^\n]+" lines "${out}")
  foreach(line IN LISTS lines)
    if(line MATCHES "^[0-9a-f]* [WVu] (.*)$")
      set(sym "${CMAKE_MATCH_1}")
      # (DW.ref.* are the unwinder's data references, the same in every copy)
      if(NOT sym MATCHES "isa_${LEVEL}::" AND NOT sym MATCHES "^DW\\.ref\\.")
        list(APPEND bad "${obj}: ${sym}")
      endif()
    endif()
  endforeach()
endforeach()
if(bad)
  list(JOIN bad "\n  " text)
  message(FATAL_ERROR "shared symbols outside namespace isa_${LEVEL}:\n  ${text}")
endif()
