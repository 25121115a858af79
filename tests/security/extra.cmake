# The comparison with an independent implementation needs libcrypto.
find_package(OpenSSL QUIET)
if(OPENSSL_FOUND)
  target_sources(test-${name} PRIVATE ${folder}/openssl/randomCases.cpp)
  target_link_libraries(test-${name} PRIVATE OpenSSL::Crypto)
else()
  message(STATUS "Left out: comparison of NAS security with libcrypto (install libssl-dev)")
endif()
