// What a failure of Open CASCADE is told as.
#pragma once

#include <Standard_Failure.hxx>
#include <Standard_OutOfMemory.hxx>

#include <new>
#include <string>

namespace openhost {

/// One line for the user: the kernel's own text has several, with places in memory, and names of its functions. Throws
/// std::bad_alloc when memory has run out.
inline std::string ReasonOf(const Standard_Failure& failure)
{
    if (failure.IsKind(STANDARD_TYPE(Standard_OutOfMemory)))
        throw std::bad_alloc();
    return std::string("the solid kernel gives up (") + failure.DynamicType()->Name() + ")";
}

} // namespace openhost
