# The MIDI transport and its platform services. The ALSA tests bring their own sequencer
# client to talk to, and skip with a reason where the kernel has no sequencer.
find_package(PkgConfig REQUIRED)
pkg_check_modules(ALSA REQUIRED IMPORTED_TARGET alsa)

tavrel_test(tavrel_midi_tests device
  AlsaMidiServiceTest.cpp
  DrainThreadTest.cpp
  MidiLibTest.cpp
  MidiReceiveTest.cpp
  VirtualMidiServiceTest.cpp
)
target_link_libraries(tavrel_midi_tests PRIVATE tavrel::device PkgConfig::ALSA)
