#pragma once

namespace tarnwell::detail {

/// Makes sure that the registry of element classes knows those of the library: each enters it when
/// it is first asked for, which may never have happened in this process. Cheap after the first
/// call.
void enlistLibraryClasses();

}  // namespace tarnwell::detail
