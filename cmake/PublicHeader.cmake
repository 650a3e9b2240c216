# Copies a public header for installation, without the declarations that exist only for the
# test suites (friend class ...TestPeer;): consumers see the class as the contract states it.
#   cmake -DIN=inc/ZonTimeUtil.h -DOUT=build/include/zon-common/ZonTimeUtil.h -P PublicHeader.cmake
file(READ "${IN}" text)
string(REGEX REPLACE "\n[ \t]*friend class [A-Za-z_0-9]+TestPeer;[ \t]*\n" "\n" text "${text}")
file(WRITE "${OUT}.tmp" "${text}")
file(RENAME "${OUT}.tmp" "${OUT}")
