#pragma once

/// Whether this process may run ARM64 guests on the host's own processors: /dev/kvm of an ARM64 host opens,
/// speaks the stable interface and makes a machine (Linux, Documentation/virt/kvm/api.rst). False on any
/// other host, whose /dev/kvm runs guests of the host's own kind only.
[[nodiscard]] bool isKVMUsable();
