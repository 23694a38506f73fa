// A definition library whose objects compute nothing, but in order: each box is made, then painted, and may need
// the paint of others to be made.
#pragma once

#include "Process.h"

#include <string>

inline std::string boxes()
{
  return makeFile("boxes.ksl", R"(RULES:
  SchedulerTypes = Make, Paint
  KSLObjectClasses = DataKSLObject, GenericKSLObject
  OBJECT: BOX
    KSLObject Class = GenericKSLObject
    Scheduler = Make, Paint
    Scheduler Links = Make, Paint
    Essential Parameter List = Size
    Optional Parameter List = On, Beside
  END
  OBJECT: NOTE
    KSLObject Class = DataKSLObject
    Optional Parameter List = Text
  END
  OBJECT: MARK
    KSLObject Class = DataKSLObject
  END
  PARAMETER: Size
    Default = 1
    Local Type = Make
  END
  PARAMETER: On
    Local Type = Make
    Remote Type = Paint
  END
  PARAMETER: Text
  END
  PARAMETER: Beside
    Local Type = Make
    Remote Type = Paint
  END
END
)");
}

// What reading files needs beside any other library.
inline std::string fileTypes()
{
  return makeFile("files.ksl", R"(RULES:
  SINGLETON: FILE PROCESSING
    KSLObject Class = DataKSLObject
    Essential Parameter List = Processing Mode, Path Stack
  END
  PARAMETER: Processing Mode
  END
  PARAMETER: Path Stack
  END
END
)");
}
