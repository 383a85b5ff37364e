# The cutting rules are pure functions, hidden in the threading layer; the
# tests build them in and run each rule's worked table directly.
file(GLOB ORB_TEST_INTERNAL CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/thread/partition/*.cpp)
