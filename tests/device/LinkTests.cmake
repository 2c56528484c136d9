# The unit's protocol, the load sequence, and the clocks and waits they run on. Time-outs run
# on a manual clock and take no real time.
tavrel_test(tavrel_link_tests device
  DrainThreadIdleTest.cpp
  LinkProtocolTest.cpp
  LinkTimeoutTest.cpp
  LoadExecTest.cpp
  ScriptedUnit.cpp
  ThreadWaiterTest.cpp
  TimelineTest.cpp
)
target_link_libraries(tavrel_link_tests PRIVATE tavrel::device)
