// Every report there is: its text, its type, what it means and what to do. tools/report_table.py makes docs/errors.md of
// it, and checks that each text of the sources stands here and the other way round.
//
//   ## a heading
//
//   the text, as the sources have it
//   type | what it means | what to do
//
// The type is a number; "note" for what stands below a report, "part" for what stands in one. "As above." is what the
// entry before says.
#include "ReportTable.h"

const char* const reportTable = R"table(## Lines and blocks

Syntax error in KSL line: '%s'.
4 | The line is none of the language's: a header (TYPE: name), a parameter (name = value) inside a block, an action (> word) or END. | Mend the line; docs/ksl.md shows each kind. A ':' before the '=' is a slip, too.
Not enough END statements in KSL.
4 | More blocks begin than end. The notes name what explains it: a line that is no statement, a type that nobody defines, a line swallowed by the backslash above it, or the header of the block that was left open. | Mend the first place named and enter the text again.
Too many END statements in KSL.
4 | More END stand in the text than headers. The notes name the END that closes nothing, or where a header is missing. | Take the END away, or mend the header.
Object name '%s' must not contain '%s'.
4 | A '/' would split the path of the object, a ',' the list of paths in an action. | Choose another name.
Object type '%s' cannot be changed by a command.
4 | RULES belong to the definition libraries. | Put the definition in a library file and name it with --library.
The text is too long: 4 GiB or more.
4 | A text of that size cannot be read as one. | Split it.
'%s' is no statement.
note | What explains a count of END that is off: the line is none of the language's. | Mend it first; the count may be right then.
'%s' is no statement; END stands alone and in capitals.
note | A block ends with END exactly. | Write END.
'%s' is no statement: a header has no '=', and no name a ':'.
note | A ':' before an '=' makes the line neither header nor parameter. | Take one of them away.
No type '%s' is defined, and this line begins a block.
note | A ':' where a '=' was meant begins a block that nobody ends. | Write '=', or the right type.
'%s' belongs to the line above it, which ends in '\\'.
note | A backslash at the end of a line makes the next one part of it. | Take the backslash away.
'%s' has no END.
note | The header of a block that was left open. | Put an END before what is next.
The next one begins here.
note | Where the block after the one that was left open begins. | The END is missing before it.
No header stands before this, and the END in line %d closes nothing.
note | A block has lost its header. | Put the header back.
This is no header, and the END in line %d closes nothing.
note | A header is damaged. | Write TYPE: name.
This END closes nothing.
note | No block is open here. | Take it away.
This END closes more than it should, or nothing.
note | From here on blocks stand at another depth than before. | Take it away.
Empty action line.
4 | A '>' with nothing behind it. | Write the action, or take the line away.

## Types, parameters and values

Could not find object: %s
4 | No definition has this type. | Write the type as the definitions do; case counts. 'did you mean' shows a close one.
Object type '%s' is not defined.
4 | As above, told before anything is changed (--validate). | As above.
Parameter '%s' is not recognized on object '%s'.
4 | The type has no such parameter. | See the parameters of the type in its definition; case counts.
Parameter '%s' is not recognized.
4 | As above. | As above.
Parameter '%s' is not defined for object type '%s'.
4 | As above, told before anything is changed (--validate). | As above.
Parameter '%s' does not exist on object %s.
4 | Somebody asks an object for a parameter that it does not have: an expression, a program or a calculation. | Correct the name.
Parameter '%s' cannot have value '%s'.
4 | The definition lists the values of the parameter, and this is none. | Use one of those listed as allowed; case counts.
Parameter '%s' of object '%s' cannot have value '%s'.
4 | With --validate: the value is no number, has units of another dimension than the default, or is a triplet without three numbers. The note says which. | Mend the value.
A triplet has three numbers, not %d.
note | A "Real Triplet" is written as three items with commas. | Write three.
An integer has no units.
note | Integers count. | Take the units away.
The units are not those of the default, '%s'.
note | A length cannot be given in kilograms. | Use units of the dimension of the default.
It is neither true nor false.
note | The parameter is a truth value. | Write True or False.
Parameter '%s' (of type boolean) cannot have value '%s'.
4 | Truth values are written True or False, also Yes, On, 1 and their opposites. | Use one of these.
Parameter '%s' of object '%s' cannot have value '%s'. %s
4 | The value is none of the units, or quantities, that can be preferred. The text behind names them. | Use one of those.
Parameter %s must have exactly three values.
4 | A triplet with more or fewer items was read. | Write three items with commas.
No value for parameter %s.
4 | A number is needed and the text is empty. | Set the parameter.
Value for parameter '%s' is empty.
4 | As above. | As above.
Value '%s' of parameter '%s' is out of range.
4 | The number does not fit the kind of number that is asked for. | Use a smaller one.
Integer parameter value %s must be Dimensionless.
4 | An integer with units was read. | Take the units away.
Unknown value '%s' of context rule parameter.
4 | The parameter that selects which others apply has a value that the definition does not know. | Use one of its options.
Object '%s' does not stand in an object of type %s.
8 | With --validate: the definition's "Allowed Parent List" does not have the parent. Nothing is refused. | Move the block into such an object.
Parameter '%s' of object '%s' has no effect while '%s' is '%s'.
8 | Told by ksl check: the parameter belongs to another choice. Its value is kept, and counts once the choice is made. | Take the line away, or make the choice that it belongs to.
'%s' is a singleton object, but name '%s' does not equal type.
4 | Of this type there is one object, which has no name. | Write the header as TYPE: alone.
Object '%s' already initialized.
4 | A program gives an object a second identity. | A fault of the program.
Object '%s' is protected.
8 | The object cannot be deleted. | Nothing needs doing.

## Names and references

Object '%s' does not exist.
4 | No object has this path or name. | Correct it; names are searched for beside, inside and above the object that uses them.
%s '%s' does not exist.
4 | The object, parameter or data named does not exist; a deletion warns only (8). | Correct the name.
It is defined here, which is too late.
note | The object is there in the end, but not when the block that names it takes effect. | Move its block before the one that names it, or enter the text with --update-mode at-end.
Object '%s' referred to in '%s' is defined in a later text.
8 | Told by ksl check: entered in this order, the text that names the object fails. | Name the files in another order.
Object '%s' referred to in '%s' does not exist.
4 | A reference names no object; 8 where it may come yet. | Create the object in the same command or before, or correct the name.
No object with name '%s' exists.
4 | As above, of a name relative to another object. | As above.
More than one object with name '%s' exists.
4 | The name alone does not decide. The notes list what it may mean. | Write the whole path.
Object name %s is ambiguous.
4 | As above, at top level. | Write the path, /TYPE:name.
Cannot connect parameter %s to object %s(it does not have Scheduler type %s).
4 | The object named computes nothing of the kind that the parameter needs. | Name an object of a fitting type.
Attempt to create a cyclic dependency between object %s (%s) and object %s (%s).
4 | Each would be computed from the other. | Take one of the references away.
Tried to make object %s (%s) reference itself.
4 | An object or expression would be computed from itself. | Take the reference away.
Path '%s' is not normal.
4 | A program uses a path with doubled slashes, "." or the like. | Write it simply.
KSLObject '%s' (path '%s') already exists.
4 | A second object with this path cannot be created. | Choose another name.
Parent of new object ('%s')does not exist in the database.
4 | A program puts an object where there is nothing. | Create the parent first.
Attempt to add child to object '%s' more than once.
32 | A fault of a program. | Tell its author.
Attempt to delete object that has no parent object ('%s')
32 | As above. | As above.
Error removing of object '%s'.
32 | As above. | As above.
Attempt to set object path from parent '%s' and name '%s' before type is known.
4 | As above. | As above.
Object '%s' cannot be renamed because it must not be deleted.
4 | Renaming takes the place of an object that is protected. | Leave its name.
Object '%s' cannot be renamed to '%s' because expression '%s' of object '%s' cannot use that name.
4 | Expressions follow renamed objects, but the new name is no word to them. | Choose a name of letters, digits and '_'.
in parameter '%s' of object '%s'
note | Whose text is ambiguous. | See the report.
it may be '%s'
note | One of several objects that a name may mean. | Write its path if it is meant.

## Numbers, units and expressions

Units '%s' are not recognized.
4 | No unit has this name, or the name would surprise; then the text behind says what to write. | See docs/units.md.
Cannot convert units '%s' to '%s'.
4 | They measure different things. | Use units of the same dimension.
Converting %s from units '%s' to '%s' gives no finite number.
4 | The number is too large for the units. | Use other units.
'%s' are no units of the quantity '%s'.
4 | Preferred units must have the dimension of their quantity. | Choose others.
There is no quantity '%s'.
4 | Units can be preferred for known quantities only. | See docs/units.md.
The unit systems are %s.
4 | Another one was asked for. | Choose one of these.
Each item should have the format: name=dimension.
4 | A list of preferred units holds something else. | Write quantity=units, with commas between.
Cannot show expression '%s' of object '%s' in units '%s'. %s
8 | The result has another dimension, or no value. | Choose other units.
An angle counts as a number, in radians: 1 [%s] is %s [%s]. A whole turn is 'rev'.
8 | A conversion between turns and plain numbers. | Check that it is what was meant.
The database of units '%s' is missing or cannot be read; it comes with the package udunits2, and UDUNITS2_XML_PATH, when set, must name it.
32 | Units cannot be read at all. | Install udunits2, or correct the variable.
Cannot evaluate '%s'%s at column %d: %s.
4 | The expression cannot be read or computed; the column and the reason tell where and why. | See docs/expressions.md.
Expression '%s' depends on a variable '%s' which does not exist.
4 | A name in an expression means nothing here. | Define it in EXPRESSIONS, or correct it.
Expression '%s' depends on a function '%s' which does not exist.
4 | No function has this name. | See docs/expressions.md.
Expression '%s' depends on a location '%s' which does not exist.
4 | No object can be the location. | Correct the name.
Expression '%s' tries to use object '%s' as a variable.
4 | The object has no value. | Name one that has.
Variable '%s' has no value: nothing is computed for it.
4 | The variable's value is computed, and what it is computed from is missing. | Complete the object.
Variable '%s' is out of date.
4 | The variable's value is computed, and what it is computed from has changed since. | Enter > update.
Expression '%s' does not exist.
4 | Nobody has defined it. | Define it in EXPRESSIONS.
'%s' is not a name that expressions can use.
4 | Names in expressions are letters, digits and '_', and no function. | Choose another.
cannot add %s and %s
part | Sums need equal dimensions. | Convert, or mend the units.
cannot subtract %s from %s
part | As for sums. | As above.
cannot compare %s with %s
part | As for sums. | As above.
function '%s' cannot take %s together with %s
part | Its arguments need equal dimensions. | As above.
function '%s' needs a number from -1 to 1
part | There is no such angle. | Check the argument.
function '%s' needs a pure number, not %s
part | It has no meaning for a quantity with units. | Divide by a unit.
function '%s' needs arguments in parentheses
part | The name of a function stands alone. | Write name(argument).
function '%s' takes %d argument(s), not %d
part | Too many or too few arguments. | See docs/expressions.md.
function '%s' takes at least %d argument(s), not %d
part | Too few arguments. | See docs/expressions.md.
nested more than %d deep
part | Too many parentheses in parentheses. | Define a part of the expression by a name.
syntax error at '%s'
part | What stands there cannot go on an expression. | Mend it.
syntax error at units '[%s]'
part | Units stand behind a number only. | Put them there.
syntax error, '%c' is missing
part | A parenthesis was left open. | Close it.
the exponent must be a pure number, not %s
part | Powers of quantities with units have none. | Divide by a unit.

## Actions

Action %s is not recognized.
32 | No action has this name. | See docs/actions.md; 'did you mean' shows a close one.
Action '%s' cannot be handled by %s.
32 | A program gives an action to the wrong executor. | Tell its author.
Action '%s' is not supported.
4 | As above. | As above.
Action '%s' is provided with a bad parameter '%s'.
4 | copy and rename take from=PATH and to=PATH. | Write these.
Action '%s' needs a 'from' parameter and a 'to' parameter.
4 | One of them is missing. | Write both.
Action '%s' requires %d argument(s). Received %d argument(s).
4 | Too many or too few arguments. | See docs/actions.md.
Action '%s' requires at least %d argument(s). Received %d argument(s).
4 | Too few arguments. | See docs/actions.md.
Invalid parameter in %s: '%s'.
4 | The action has no argument of this name. | Use one of those listed as allowed.
Invalid parameter value: '%s'.
4 | The argument cannot have this value. | Use one of those listed as allowed.
Invalid parameter value: %s.
4 | As above. | As above.
Empty '%s' parameter.
4 | The argument has no value. | Give it one.
Syntax error: %s parameters should have the format: %s
4 | An argument without '='. | Write name=value.
Did not specify correct number of parameters
4 | Too many or too few arguments. | See docs/actions.md.
Option '%s' in action '%s' is not recognized.
4 | The action has no such word. | See docs/actions.md.
Syntax error: getrulesinfo [type=object*|parameter] name=objectname
4 | An argument without '='. | Write it as shown.
Syntax error: getrulesinfo name must be specified.
4 | The name is missing. | Write name=NAME.
Syntax error: getrulesinfo type can be object or parameter.
4 | The type is something else. | Write one of the two.
getrulesinfo: object %s does not exist.
4 | No type, parameter or object has the name. | Correct it.
No object type of class '%s' is defined.
4 | Nothing in the definitions is computed so. | Load the library that defines one.
Copy action has a '%s' parameter that is not a path: '%s'.
4 | copy and rename take paths. | Write /TYPE:name.
Attempt to copy from singleton to named object (copy from '%s' to '%s').
4 | There is one object of a singleton type. | Copy to another type is not possible.
Attempt to copy from singleton to named object or vice versa (copy from '%s' to '%s').
4 | As above. | As above.
Attempt to copy an object to an object of different type (copy from '%s' to '%s').
4 | A copy has the type of its original. | Correct the target.
Attempt to rename object '%s' into itself (rename to '%s').
4 | The new path lies inside the old one. | Choose another.
Attempt to copy nonexistent object '%s' failed.
4 | There is nothing to copy. | Correct the path.
Attempt to copy to existing object '%s' failed.
4 | The target exists. | Delete it first, or choose another name.
Cannot find object %s
4 | The definitions lack an object that the action needs. | Load the library that has it.
Unable to create object %s
4 | As above. | As above.
Object '%s' does not exist. Update ignored.
8 | forceupdate names no object. | Correct the name.
Bad cast of %s '%s' to %s.
32 | The object computes nothing. | Name one that does.

## Files: libraries, states, sessions, results

Cannot read file '%s': %s.
4 | The reason is the system's. | Check name and permission.
Cannot open file '%s': %s.
4 | As above. | As above.
Cannot write file '%s': %s.
4 | As above; what was there is as it was. | As above.
Cannot read directory '%s': %s.
4 | As above. | As above.
Cannot read standard input: %s.
4 | As above. | As above.
Cannot read standard input: A line has more than %d MB.
4 | The input is no text of lines. | Check what is piped in.
It has more than %d MB
part | A file is too large to be one of this kind. | Check the name.
Cannot write to standard output.
4 | The reader has gone, or the disk is full. | Check where the output goes.
Cannot write a temporary file: %s.
4 | The reason is the system's. | Make room.
Cannot read KSL library '%s': %s.
4 | The reason is the system's. | Check --library or ORV_KSL_LIBRARY_PATH.
Action line in KSL library '%s', line %d: '%s'.
4 | A library defines; nobody is there yet to act. | Take the line away.
Action line in KSL library: '%s'.
4 | As above. | As above.
Object '%s' in KSL library '%s', line %d, is no definition.
4 | A library holds a RULES block and nothing else. | Enter the object as a command.
Not enough END statements in KSL library '%s'.
4 | A block of the library was left open; the notes say where. | Mend it.
Too many END statements in KSL library '%s'.
4 | An END of the library closes nothing; the notes say where. | Mend it.
%s (KSL library '%s')
4 | An error in a line of a library. | See the message in front.
Non ASCII file: '%s'.
4 | State and session files are plain ASCII; other characters are escaped by their writers. | Take a file that this program wrote.
No Filename Specified
4 | The action names no file, and neither does the object that remembers one. | Write filename=FILE.
Overwrite not allowed: %s
4 | The file exists. | Write mode=overwrite, or choose another name.
File status error: '%s' - %s.
4 | The reason is the system's. | Check name and permission.
File '%s' is already being processed.
4 | A file reads itself. | Take the action out of it.
File '%s' is the session file that is being written.
4 | It cannot be read meanwhile. | Stop the session first.
Session file contains no data.
4 | The file is empty. | Check the name.
State file contains no data.
4 | The file is empty. | Check the name.
Session file '%s' is incomplete: line %d has no end.
4 | The session was cut off. | Replay it with --keep-whole.
Session file '%s' is incomplete: the command at line %d has no end.
4 | As above. | As above.
Session file '%s' ended with an incomplete command, which was cut off.
8 | A recording goes on behind the last whole command. | Nothing needs doing.
Line '%s' cannot be read back.
4 | A line would read differently from a session file. | Write it differently.
Value of parameter '%s' of object '%s' cannot be read back.
8 | A value would read differently from a state file. | Write it differently.
Cannot find object %s. No state written for that object.
8 | savestate names no object. | Correct the name.
Must specify START or STOP session.
4 | session needs one of these words. | Write start or stop.
STOP session cannot take other parameters.
4 | As it says. | Write stop alone.
Cannot START & STOP session at same time.
4 | As it says. | Write one of them.
%s duplicately specified.
4 | A word stands twice. | Write it once.
%s already in progress.
4 | A session is being recorded. | Stop it first.
%s is not in progress.
4 | No session is being recorded. | Start one first.
Undo is not supported in a session file.\nIt is recommended that you restart the application\nas the current state is unknown.
4 | A session replayed as one command cannot take a part of itself back. | Replay it command by command (ksl replay).
A recorded '> savestate %s' was passed over. --write-files runs it.
8 | A replay writes no files unless it is asked to. | Add --write-files if the file is wanted.
Results file referred to in the state was not found:\n\n  %s\n\nLocal results file with the same name was loaded instead:\n\n  %s\n
4 | The results lie beside the state, and not where it says. | Check that they are the right ones.
Results file referred to in the state was not found:\n\n  %s\n\nPlease ensure that the file path is correct.\nAlternatively, load the results file first, then the\nstate file with 'Load results' option turned off.
4 | The state names results that are not there. | As the message says; load=false leaves them out.
Results file '%s' holds '%s', which is no part of a domain.
4 | A results file is a list of DOMAIN blocks with BOUNDARY blocks in them. | Mend it.
There are no results to load: DATA READER names no file.
4 | load needs a name. | Set Current Results File.
File %s not found.\n  -> Used local file %s instead.
8 | The file lies beside the one that names it. | Check that it is the right one.
The session file '%s' was being replayed.
note | What was going on when something failed. | See the report.
Variable '%s' is not in the results.
4 | The results hold no such variable. | Use one of theirs.

## Definitions (RULES)

KSL type '%s' is not one of PARAMETER, OBJECT or SINGLETON.
4 | Blocks in RULES are one of these. | Correct the header.
KSL object '%s' is not recognized.
4 | A definition of a type holds CONTEXT and PARAMETER blocks only. | Correct the header.
KSL Object class '%s' is not recognized.
4 | KSLObject Class names no class that the program has. | Use one of those in KSLObjectClasses.
Object Context '%s' is not recognized.
4 | A CONTEXT block's name is none of the Allowed Option List. | Add it there, or correct it.
Scheduler type '%s' is not recognized.
4 | It is not in SchedulerTypes, or the type does not have it. | Add it, or correct it.
Scheduler type '%s' for object type '%s' not found.
4 | A calculation or link asks for a scheduler that the type lacks. | Add it to the Scheduler list.
Calculate function specification requires triplets, (%d).
4 | Calculate Function lists scheduler type, library and function, again and again. | Complete the list.
Odd number of scheduler types specified, (%d).
4 | Scheduler Links lists pairs. | Complete the list.
The local type is empty and the remote type is not for parameter '%s'.
4 | A reference needs both. | Set Local Type.
Could not find base type: %s
4 | No class of this name is registered. | Correct KSLObject Class.
Could not find parameter: %s
4 | A type lists a parameter that is not defined. | Define it, or correct the list.
Duplicate data: Parameter '%s' already exists.
4 | A parameter is defined, or listed, twice. | Take one away.
Duplicate data: KSLObject type '%s' already exists.
4 | A type is defined twice. | Take one away.
Duplicate data: KSLObject base type '%s' already exists.
4 | A program registers a class twice. | Tell its author.
Duplicate data: Action '%s' already exists.
32 | A program registers an action twice. | Tell its author.
Duplicate data: Scheduler type '%s' already exists.
4 | A scheduler is listed twice. | Take one away.
Duplicate data: Scheduler type '%s' for object type '%s' already exists.
4 | As above, with its calculation. | Take one away.
Duplicate scheduler link between '%s:%s' and '%s:%s'.
4 | A link is listed twice. | Take one away.
Essential parameters (not context-specific) added twice
4 | Two Essential Parameter Lists. | Make them one.
Essential parameters in rules context '%s' added twice
4 | As above, in a CONTEXT. | Make them one.
Category '%s' is not recognized.
32 | It is not in Categories. | Add it, or correct it.
Cannot add function to type DataKSLObject.
4 | A type of this class computes nothing. | Choose GenericKSLObject as KSLObject Class.
Cannot add scheduler to type DataKSLObject.
4 | As above. | As above.
Scheduler object of type '%s' in object '%s' is not null.
4 | A fault of a program. | Tell its author.
Bad cast of $1 '$2' to $3.
32 | The class named by KSLObject Class is none for definitions. | Correct it.
Parameter '%s' of object type '%s' is internal and in another parameter list too.
8 | The error behind it names the parameter only. | Take it out of one list.
Allowed values of context rule parameter '%s' are not the allowed options of object type '%s'.
8 | Objects can get a value that selects nothing. | Make the lists equal.
Default '%s' of context rule parameter '%s' is not an allowed option of object type '%s'.
8 | New objects select nothing. | Correct the default.
Object type 'ROOT' has the type of the root of all objects.
8 | Its objects cannot be reached by path. | Rename the type.
Object type '%s' holds a ':', which ends the type where a path is read.
8 | As above. | As above.
Key '%s' of definition '%s' is not recognized.
8 | With --validate: nobody reads the key, and it looks like one that is read. | Correct it, or leave it if it is meant for people.

## Calculations and plug-ins

Calculate function '%s' in library '%s' for object type '%s' was not found.
4 | The plug-in or the function in it cannot be had; the warning before it says why. | Build and install the plug-in, or set ORV_PLUGIN_PATH.
Calculate library '%s' not loaded: %s.
8 | The reason is the system's. | As above.
Calculate library has no name.
8 | Calculate Function lists an empty library. | Name one.
Function '%s' not found in calculate library '%s': %s.
8 | The plug-in has no such function. | Correct the name.
Function '%s' of calculate library '%s' made nothing.
8 | The plug-in's factory returned null. | Tell its author.
%s was built for %s, this is %s: build it again
part | A plug-in fits one interface only. | Build it again.
%s was built without a stamp (ORV_CALCULATE_LIBRARY), this is %s: build it again
part | As above. | As above.
Operation '%s' failed (system exception: %s).
32 | A calculation threw something that is no error of the library; the object and the function stand below. | Tell the plug-in's author.
Operation '%s' failed with unrecognized exception.
32 | As above. | As above.
Operation '%s' failed. Updates are nested too deeply.
32 | Calculations that update others call each other without end. | Tell the plug-in's author.
in calculate function '%s' of '%s', for scheduler type '%s'
note | Where the error arose. | See the report.
Object %s has scheduler but is not GenericKSLObject.
32 | A fault of a program. | Tell its author.
This function should never be called for this object.
32 | As above. | As above.
This function should never be called for this object. (Scheduler type requested: '%s'.)
4 | As above. | As above.
Colour '%s' is not known.
4 | Colours are names, or three numbers from 0 to 1. | Correct it.
Cut '%s' has no plane: its points lie on a line or its normal has no length.
4 | The parameters do not make a plane. | Move a point, or give the normal a length.
Density of fluid '%s' is not known.
4 | The demo domain knows few fluids. | Use one of the definition's.
'%s' can only be painted on cuts, and '%s' is none.
4 | The location of the picture is something else. | Name a cut.
Shot '%s' looks nowhere: its eye point, or its up direction, and what it looks at are in line.
4 | The camera has no direction. | Move the eye point.
The program provides no function '%s' of library '%s'.
8 | The program itself stands for this library, and knows no such function. | Register the function, or mend its name in the definitions.
Calculate library '%s' not loaded: %s
4 | The beginning of the library failed; its own words follow. | As they say.

## Results on VTK

Results file '%s' cannot be read: %s.
4 | The file that RESULTS names cannot be opened; the system says why. | Name another file, or give rights to read it.
%s is damaged: %d of its %d parts are there
part | A file of a decomposed OpenFOAM case that holds the parts of several processes was cut off, or is not what its folder's name says. | Let the solver write it again, or take the time's folder away.
%s is compressed, and holds several parts: unpack it with gunzip
part | Files that hold the parts of several processes are read as they are. | As it says; 'writeCompression off' in controlDict keeps the solver from it.
Results file '%s' is of no kind that is known: %s.
4 | The ending of its name is not one of those listed. | Name a file of a kind that is read, or convert it.
Results file '%s' is no collection of results.
4 | A .pvd file has a Collection of DataSet entries; this one has none. | Write it anew.
Results file '%s' holds no cells.
4 | It was read, but there is no mesh in it. | See what wrote it.
Results file '%s' has nothing at time %s: its times are %s.
4 | No time of the file is the one asked for, within a millionth of the range. | Take one of the times listed, First or Last.
The scale factor of %s is not above 0.
4 | Lengths in the file times it are metres. | Leave it at 1 for metres, and say 0.001 for millimetres.
Results file '%s' has nothing at time %s: it tells no times.
4 | A file of one mesh, such as a .vtu, is all there is. | Take First or Last, or name a file that tells times, such as a .pvd.
%s has a Time List, and its results tell no times.
4 | Numbers over time need results that tell times. | Leave the list empty, or say All, which is then no time.
File '%s' of '%s' at time %s says that it is the field '%s'.
4 | A copy of a field's file, as an editor or a person leaves it, stands beside it, and would be read in its place. | Take it away, or let 'object' in its head be the file's name.
Field '%s' of '%s' at time %s cannot be read: its file is damaged or not of the mesh's size.
4 | The case has the file, but not one value for each cell. | Write the field anew, or take its file away.
%s cannot be computed: the calculate library vtk was built without VTK. Install VTK's files for development (Debian's package libvtk9-dev) and build again with KSL_VTK=ON.
4 | Results need VTK, which was not there when the program was built. | As it says; 'tools/setup.sh results' installs what is missing.
Variable '%s' is not in the results of %s: there are %s.
4 | Neither the file nor a VARIABLE has this name. | Take one of those listed, or a component such as U.x.
Variable '%s' has no values on points.
4 | It stands on cells alone, and cannot be shown or read at points. | Take another variable.
Variable '%s' of %s is no vector.
4 | Arrows, streamlines and fluxes need three components. | Take a vector.
Variable '%s' of %s is no pressure.
4 | A force is that of a number on a surface. | Take a variable with one component.
Parameter '%s' of %s has no direction.
4 | All its three numbers are 0. | Give a direction.
Cut '%s' has no plane: its points lie on a line.
4 | Three points make a plane only when they do not lie on a line. | Move one of them.
%s holds nothing of the results, which extend over %s.
4 | The place lies beside the mesh; its lowest and highest x, y and z are told. | Move it.
Region '%s' is not in the results of %s: there are %s.
4 | The boundary has no part of this name. | Take one of those listed.
File '%s' of '%s' is damaged: part %d has %s of its %s values.
4 | A file of a variable of an EnSight case was cut off, or belongs to another mesh. | Write it anew, or take its line out of the case.
Region '%s' is not in results file '%s': there are %s.
4 | No block, zone, part or patch of the file has this name. | Take one of those listed, or leave Regions empty for all.
Region '%s' is not in results file '%s': it has no regions.
4 | A file of one mesh has no names to choose by. | Leave Regions empty.
%s is empty: '%s' goes from %s to %s, which does not hold %s.
4 | The variable has this value nowhere. | Take a value in between.
%s holds no cells: '%s' goes from %s to %s.
4 | The variable lies between Min and Max nowhere. | Take values within its range.
%s has points with other than three coordinates.
4 | A point is x, y and z. | Complete the list.
%s has no seed in the results, which extend over %s.
4 | All points that the lines begin at lie outside the mesh, or where nothing moves. | Move the seeds.
%s lies outside the results, which extend over %s.
4 | No point of the probe is in the mesh. | Move it.
'%s' of %s is no palette: there are the schemes Spectrum, Heat, Ocean, Grey, Viridis, Cividis, Magma and Cool Warm, and objects of the type PALETTE.
4 | Neither a scheme nor a PALETTE has this name. | Take one of these.
%s takes a surface: its location is a volume.
4 | Fluxes and forces are those through a surface. | Name a cut, a patch or a level surface.
%s has nothing to sum over: its location has neither area nor volume.
4 | Points and lines have values, and no size: so have cuts through results that are surfaces themselves. | Name a surface or a volume, or take Minimum or Maximum.
%s needs a density: a variable or a value.
4 | A mass flow is a flux times a density. | Set Density.
%s has no '%s': its location is a %s.
4 | Surfaces have areas, volumes have volumes. | Take the other Option, or another place.
%s has no column '%s' to draw a line over.
4 | The numbers of this object were not found along a line, nor over time. | Name a probe along a line, give a Time List, or set Across.
Table file '%s' cannot be read: %s.
4 | The Table File of a CHART is not there, or empty. | Name a .csv, such as 'ksl sweep' prints.
Table file '%s' has no column of numbers.
4 | Its first line should name the columns, and the others hold their numbers, with commas between. | See what is in it.
%s has no columns to draw.
4 | None of the columns named is there. | See the columns in a TABLE of the same objects.
The picture size of %s is not two numbers from 100 to 16384.
4 | Width and height in pixels. | Give both.
The picture size of %s is not two numbers from 1 to 16384.
4 | Width and height in pixels. | Give both.
%s sees nothing: its view has no height, or its angle is not between 0 and 180 [degree].
4 | A view is as high as View Height says, or View Angle. | Set it to more than 0.
%s sees nothing: its Eye Point is where it looks at.
4 | A view needs a direction. | Move the Eye Point away from Look At.
'%s' of %s is no view: there are Given, X, -X, Y, -Y, Z, -Z and Isometric.
4 | A View List names views. | Take one of these.
'%s' is of no kind that pictures are written in: .png, .gltf, .vtp.
4 | The ending of the file's name says how it is written. | Take one of these.
'%s' is of no kind that tables are written in: .csv, .json.
4 | The ending of the file's name says how it is written. | Take one of these.
'%s' is of no kind that charts are written in: .svg, .png.
4 | The ending of the file's name says how it is written. | Take one of these.
The display '%s' cannot be opened; without DISPLAY, pictures are painted in memory.
4 | DISPLAY names an X server that is not there, or does not let this program in. | Unset DISPLAY, or name another one.
'%s' is not made: ffmpeg, which joins pictures, is not there (Debian's package ffmpeg).
8 | A film is made by another program; its pictures are written all the same. | Install it.
'%s' cannot be made: ffmpeg gives the exit status %d.
4 | It knows no film with this ending, or could not write it. | Take .mp4, .webm or .gif.
Expression '%s': %s at '%s'.
4 | The expression of a VARIABLE cannot be read from here on. | Mend it there.
Expression '%s': %s.
4 | The values in the expression of a VARIABLE do not go together. | Mend it as it says.
Function '%s' is not known
part | Of an expression over fields. | mag, dot, cross, grad, div, curl, sqrt, abs, exp, log, sin, cos, min and max are.
Function '%s' takes %d values
part | As it says. | Give so many, with commas between.
there is no variable '%s'; there are %s
part | The results do not have it. | Take one of those listed; put names with other characters than letters, digits and '_' in single quotes.
%s takes two numbers or two vectors
part | A number and a vector cannot be added or compared. | Take mag of the vector, or a component.
%s takes values of one dimension, not '%s' and '%s'
part | What is added or compared has one dimension. | Mend the expression, or the units of the variables.
%s takes a number, not a vector
part | As it says. | Take mag of the vector, or a component.
%s takes a pure number, not '%s'
part | As it says. | Divide by a value with these units.
%s takes two vectors
part | As it says. | As it says.
%s takes a vector
part | As it says. | As it says.

## Undo, recovery and the program

Nothing to undo.
8 | No step is left. | Nothing needs doing.
Nothing to redo.
8 | As above. | As above.
An attempt to recover from a previous error has failed.\nThe application is likely to be in an unstable state.
8 | Something could not be put back; the reports before it say what. | Save under another name and start again.
Text submitted during error recovery is ignored.
8 | A program enters text while a failed command is being taken back. | A fault of the program, mostly harmless.
Operation failed. Insufficient memory.
1 | The command was taken back. | Make room, or split the work.
Operation '%s' failed. Insufficient memory.
1 | As above. | As above.
Operation failed. (System exception: %s)
1 | Something that is no error of the library was thrown; the command was taken back. | Tell the author of the plug-in or program.
Operation failed. (System exception string: %s)
1 | As above. | As above.
Operation failed. (System exception message: %s)
1 | As above. | As above.
Operation failed with unrecognized system exception.
1 | As above. | As above.
Operation '%s' failed. Texts are nested too deeply.
32 | A text submits texts without end. | Look for an action or observer that calls itself.
Executive::update() called with differentKSLChangeList from higher invocation.
32 | A program updates, or undoes, within an update. | Tell its author.
Interrupted.
4 | Ctrl-C. | Nothing needs doing.
Interrupted. The command is taken back.
4 | Ctrl-C while a command ran. | Nothing needs doing.
Objects could not be deleted at shut-down.
32 | A fault of a program. | Tell its author.
Pointer to ActionFactory not set.
32 | A program runs actions before it is set up. | Tell its author.
Pointer to Executive not set.
32 | As above. | As above.
Input parameter %s is empty.
4 | A program passes an empty text; 32 where that is a fault. | Pass a text.
Input parameter %s is a null pointer.
32 | A fault of a program. | Tell its author.
Null pointer to %s.
32 | As above. | As above.
Null pointer passed to constructor.
32 | As above. | As above.
Invalid KSLObject. $1 field is empty.
4 | A program registers a type without a name. | Tell its author.
Invalid KSLObject. %s field is empty.
4 | As above, of an object. | Tell its author.
Invalid object definition, expected: '%s', received: '%s'
4 | A program gives an object as another type than it has. | Tell its author.
Attempt to register DBChangeNotify when one is already registered.
32 | There is one observer of the database. | Take the other away first.
Attempt to register NotifyChange when one is already registered.
32 | As above, of a parameter. | As above.
Attempt to register ObjectChangeNotify when one is already registered.
32 | As above, of an object. | As above.
'%s' is already renamed to '%s'.
4 | A program tells two new names for one old one. | Tell its author.
Renaming '%s' to '%s' leads back to '%s'.
4 | A program's renamings go in a circle. | Tell its author.
Graphviz's program 'dot' was not found. Install Graphviz (the package 'graphviz'), or draw with --dot.
4 | graph --svg needs it. | As the message says.
Graphviz's program 'dot' failed.
4 | What it says stands above. | See there.
Cannot start Graphviz's program 'dot': %s.
4 | The reason is the system's. | Check the installation.
Lost Graphviz's program 'dot': %s.
4 | As above. | As above.
%s takes no argument.
4 | A command of the shell has something behind it. | Leave that out.
There is no command '%s'. .help lists those that there are.
4 | The shell has no such command. | See .help.
'%s' is no number of steps.
4 | .undo and .redo take a number. | Write one.
Nothing to %s.
4 | No step is left. | Nothing needs doing.
There are only %d steps to %s. .history lists them.
4 | Fewer are left. | Use a smaller number.
No block is being entered.
4 | There is nothing to cancel. | Nothing needs doing.
%s takes %s.
4 | A command of the shell needs something behind it. | Write it, or see .help.
No step is called '%s' or has changed such an object.
4 | .undo was given neither a number, nor what a step is called or has changed. | .history lists the steps.
A file name here %s.
4 | An action line could not name this file; the text says why. | Choose another name.
No command was entered yet.
4 | .edit has nothing to edit. | Name an object behind it.
There is no terminal to edit on.
4 | .edit starts an editor, which needs a terminal. | Use the shell on one.
The editor '%s' failed; nothing is entered.
4 | The program that VISUAL or EDITOR names, or vi, did not start or did not end well. | Set VISUAL to an editor that is there.
Standard input is read already.
4 | The shell reads its commands there. | Name a file.
No report in docs/errors.md reads like '%s'.
4 | ksl explain finds a report by its text. | Copy the line of the report whole.

## Looking

'%s' is neither a type nor an object. ksl describe lists the types.
4 | No definition has this type, and no object this path or name. | 'did you mean' shows a close type; -f and --load bring objects.
No object matches '%s'.
4 | The pattern of ksl get finds nothing. | With a '/' or ':' it is one of paths, else of names.
No object that matches '%s' has a parameter '%s'.
4 | There are such objects, but without these parameters. | ksl describe TYPE lists the parameters of a type.
Cannot make folder '%s': %s.
4 | The folder for the reference manual cannot be made; the system says why. | Mend what the system names, or choose another folder.
## Several processes

Process %d of %d: %s
4 | A process of ksl-mpi failed, and so all did; the rest says why. | See the rest; look at the piece of the data that this process reads, and at its machine.
The command failed there alone.
32 | A process could not do what the others did, outside any calculation. | Look at its machine: memory, disk, the files of its definitions.
The processes have become different.
32 | The processes of ksl-mpi came to different steps of their work, and nothing they say can be trusted. | Start again; report the text that led here.
After this command the models of process 0 and process %d differ, first in %s. The run is stopped.
32 | What the processes of ksl-mpi hold is compared after each command. | Look for what differs between their machines: definitions, calculate libraries, versions.
Process %d of %d reads something else in '%s'.
4 | A state or session file is another one on the machine of this process. | Put it where all machines see the same.
Field '%s' is in the pieces of other processes, but not in that of this one.
4 | A piece of a decomposed case was written without the field. | Write it again, or take it away from all.
Results file '%s' has other times in the pieces of other processes.
4 | The parts of a decomposed case were not all written at the same times. | Take away the times that not all have.
Results file '%s' is in pieces for some processes, and whole for others.
4 | The file or folder of that name is another one on some machines. | Put it where all machines see the same.

## Sessions and sweeps

The session has not begun.
32 | ksl_open gave 0, and the session was used all the same. | Look at ksl_errors first.
A command is under way.
32 | A command in pieces was begun within another command, or in one of its calculations or observers. | Begin it when that has ended.
The command has failed; nothing is added to it.
4 | A piece of a command in pieces failed, and all of it was taken back. | End the command, and begin another.
'%s' is not for pieces of a command.
4 | undo, redo and what reads or writes files stand alone. | End the command first.
The file name '%s' %s.
4 | An action line could not name this file; the text says why. | Choose another name.
Value '%s' of parameter '%s' cannot be written as text.
4 | A line of KSL cannot hold the value: a line end, a comment or white space that counts. | Give another value.
There are no values.
4 | A sweep was given nothing to vary. | Name values with --set PATH.NAME=VALUES.
'%s' is not PATH.PARAMETER=VALUES.
4 | A setting of a sweep does not read so. | Write it like '/CUT:a.Offset=0, 10 [cm]' or '/CUT:a.Offset=0..1/9 [m]'.
The context is in use on another thread.
32 | One thread at a time works in a model. | Wait until the other thread has left it, or give each thread a model of its own.
)table";
