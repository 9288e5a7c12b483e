# Joins the sandbox SDK's source files, in the order sandbox/parts.txt gives,
# into the one script the library loads.
#   cmake -DSANDBOX_DIR=<sandbox folder> -DOUT=<index.js> -P join_sandbox.cmake
file(STRINGS "${SANDBOX_DIR}/parts.txt" _parts REGEX "^[^#]")
set(_tmp "${OUT}.part")
file(WRITE "${_tmp}" "")
foreach(_part IN LISTS _parts)
  file(READ "${SANDBOX_DIR}/${_part}" _text)
  file(APPEND "${_tmp}" "${_text}")
endforeach()
file(RENAME "${_tmp}" "${OUT}")
