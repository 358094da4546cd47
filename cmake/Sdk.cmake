# What a client of the component gets: cmake --install lays it out as an SDK.
install(TARGETS Tavlo TavloPS LIBRARY DESTINATION bin RUNTIME DESTINATION bin)
install(TARGETS tavlo RUNTIME DESTINATION bin)
install(FILES $<TARGET_FILE:Tavlo>.debug $<TARGET_FILE:TavloPS>.debug $<TARGET_FILE:tavlo>.debug DESTINATION symbols)
install(FILES ${PROJECT_BINARY_DIR}/idl/SentelCommon.tlb DESTINATION bin)
install(FILES ${PROJECT_BINARY_DIR}/idl/SentelCommon.h ${PROJECT_BINARY_DIR}/idl/TavloLib.h DESTINATION include)
install(FILES idl/SentelCommon.idl idl/TavloLib.idl idl/TavloInternal.idl DESTINATION idl)
