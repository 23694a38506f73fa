// A definition library whose objects compute nothing, but in order: each box is made, then painted, and may need
// the paint of others to be made.
#pragma once

#include "Process.h"

#include <string>

inline std::string boxes()
{
  return makeFile(
      "boxes.ksl",
      "RULES:\nSchedulerTypes = Make, Paint\nKSLObjectClasses = DataKSLObject, GenericKSLObject\n"
      "OBJECT: BOX\nKSLObject Class = GenericKSLObject\nScheduler = Make, Paint\nScheduler Links = Make, "
      "Paint\n"
      "Essential Parameter List = Size\nOptional Parameter List = On, Beside\nEND\n"
      "OBJECT: NOTE\nKSLObject Class = DataKSLObject\nOptional Parameter List = Text\nEND\n"
      "OBJECT: MARK\nKSLObject Class = DataKSLObject\nEND\n"
      "PARAMETER: Size\nDefault = 1\nLocal Type = Make\nEND\n"
      "PARAMETER: On\nLocal Type = Make\nRemote Type = Paint\nEND\n"
      "PARAMETER: Beside\nLocal Type = Make\nRemote Type = Paint\nEND\nPARAMETER: Text\nEND\nEND\n");
}

// What reading files needs beside any other library.
inline std::string fileTypes()
{
  return makeFile("files.ksl",
                  "RULES:\nSINGLETON: FILE PROCESSING\nKSLObject Class = DataKSLObject\n"
                  "Essential Parameter List = Processing Mode, Path Stack\nEND\n"
                  "PARAMETER: Processing Mode\nEND\nPARAMETER: Path Stack\nEND\nEND\n");
}
