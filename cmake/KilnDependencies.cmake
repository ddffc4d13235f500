# The libraries that Common is built on. docs/dependencies.md gives the reason for each.

find_package(Qt5 5.15 REQUIRED COMPONENTS Core Gui Widgets)
find_package(Boost 1.74 REQUIRED COMPONENTS log)
find_package(TIFF 4.5 REQUIRED)
find_package(spdlog 1.10 REQUIRED) # brings fmt
