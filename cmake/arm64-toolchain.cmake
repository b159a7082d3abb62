# Builds for ARM64 on a Debian system of another kind, where the libraries for both lie beside each other (multiarch).
set(triplet aarch64-linux-gnu)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64) # otherwise that of this computer
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${triplet}/pkgconfig:/usr/share/pkgconfig)

# Qt's compilers run here.
execute_process(COMMAND dpkg-architecture -qDEB_BUILD_MULTIARCH
    OUTPUT_VARIABLE build_triplet OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/${build_triplet}/cmake)
set(Qt6LinguistTools_DIR ${QT_HOST_PATH_CMAKE_DIR}/Qt6LinguistTools)
