#include "client/commands/manuals.h"

namespace Mardu::Sentel::Tavlo::Client {

const Manual programManual = {
    .synopsis = "COMMAND [ARGUMENT...] [OPTION...]\n"
                "help [COMMAND]\n"
                "--version",
    .description =
        "Shares pictures as images between processes, and looks at, changes and converts images that "
        "other programs share. Tavlo.dll must be registered for that, once: 'tavlo register'.\n\n"
        "Results go to standard output, errors to standard error, both as UTF-8. Every command takes "
        "--json, --quiet and --help; '--' ends the options. 'tavlo help COMMAND' explains a command.",
    .examples = {{"Share a picture in one console", "tavlo publish scan.tif --name scan"},
                 {"Look at it from others", "tavlo view scan"},
                 {"See what else there is", "tavlo list"},
                 {"Learn about a command", "tavlo help publish"}},
    .seeAlso = "docs/client.md; docs/errors.md has the error texts and codes",
};

const Manual publishManual = {
    .synopsis = "publish PICTURE --name NAME [OPTION...]\n"
                "publish PICTURE --section SECTION [OPTION...]",
    .description =
        "Makes an image of the first picture in the file, and keeps it until Enter or Ctrl+C is pressed "
        "or an input that is a console or a pipe ends. Prints how the other commands take the image, a line "
        "for --section and one for --name.\n\n"
        "A name or section that is in use already is an error, and what has it stays as it is.",
    .examples = {{"Publish under a name", "tavlo publish scan.tif --name scan"},
                 {"For programs that open the memory themselves", "tavlo publish scan.tif --section scan"},
                 {"Let several programs write to it",
                  "tavlo publish scan.tif --name scan --access multiple-writers"},
                 {"For a program that reads the line", "tavlo publish scan.tif --name scan --json"}},
    .seeAlso = "tavlo list, tavlo info, tavlo view",
};

const Manual listManual = {
    .synopsis = "list [OPTION...]",
    .description =
        "Prints a line for each image that programs of this user publish in this session: its name, "
        "geometry, pixel type and process. Nothing is printed when there is none.",
    .examples = {{"What is there", "tavlo list"},
                 {"Without waiting for processes that hang", "tavlo list --patience 1"},
                 {"For a program", "tavlo list --json"}},
    .seeAlso = "tavlo publish, tavlo info",
};

const Manual infoManual = {
    .synopsis = "info NAME [OPTION...]\n"
                "info --section SECTION --descriptor DESCRIPTOR [OPTION...]",
    .description =
        "Prints the geometry, the size of the image's memory in bytes, and the minimum, maximum and mean "
        "of its values, for each colour or component. NaNs are counted and otherwise left out.",
    .examples = {{"A published image", "tavlo info scan"},
                 {"What lies in a section",
                  "tavlo info --section scan --descriptor 37,11,16,Unsigned,0,2,74"},
                 {"For a program", "tavlo info scan --json"}},
    .seeAlso = "tavlo list, tavlo export",
};

const Manual watchManual = {
    .synopsis = "watch NAME [OPTION...]",
    .description =
        "Prints left, top, right and bottom of every update of a published image as soon as somebody "
        "reports it, until Enter or Ctrl+C is pressed, an input that is a console or a pipe ends, or --count "
        "updates have come. Fails when the publishing process or the subscription ends.\n\n"
        "Of updates that come faster than they are printed, 4096 wait; further ones are merged into the "
        "last rectangle, and a note says how many.\n\n"
        "A section alone has nobody who tells of updates, so the image is named.",
    .examples = {{"Every update", "tavlo watch scan"},
                 {"The next one only, without the note before it", "tavlo watch scan --count 1 --quiet"},
                 {"Without making writers wait, a JSON object a line", "tavlo watch scan --merged --json"}},
    .seeAlso = "tavlo paint, tavlo view",
};

const Manual viewManual = {
    .synopsis = "view NAME|PICTURE [OPTION...]\n"
                "view --name NAME [OPTION...]\n"
                "view --section SECTION --descriptor DESCRIPTOR [OPTION...]",
    .description =
        "Opens a window on the image, which follows every update until it is closed. A file that is there "
        "comes before an image of that name. A section is shown without updates, which nobody reports for "
        "it. F1 shows the keys.",
    .examples = {{"A published image", "tavlo view scan"},
                 {"A picture in false colours", "tavlo view scan.tif --ramp dusk --size 800,600"},
                 {"An image whose name is a file's too", "tavlo view --name scan.tif"}},
    .seeAlso = "tavlo publish; docs/viewer.md has keys and colours",
};

const Manual exportManual = {
    .synopsis = "export NAME OUT [OPTION...]\n"
                "export --section SECTION --descriptor DESCRIPTOR OUT [OPTION...]",
    .description =
        "Writes the pixels as they are: Unsigned of 1 to 16 bits as grey, RGB, BGR, RGBA and BGRA as "
        "colours. Other encodings are refused, since PNG cannot keep them. A file that exists is replaced by "
        "a complete one or not at all.",
    .examples = {{"A published image", "tavlo export scan copy.png"},
                 {"What lies in a section, mirrored",
                  "tavlo export --section scan --descriptor 37,11,16,0,72,-2,74 copy.png"}},
    .seeAlso = "tavlo recode, tavlo info",
};

const Manual paintManual = {
    .synopsis = "paint NAME [OPTION...]\n"
                "paint --section SECTION --descriptor DESCRIPTOR [OPTION...]",
    .description =
        "Writes a pattern through a write accessor and reports what changed. An image that is read-only "
        "or has its only writer already is refused. Lowest and highest value are those of the image's bits, "
        "0 "
        "and 1 for floats.\n\n"
        "In a section the bytes change, and nobody hears of it.",
    .examples = {{"A gradient all over", "tavlo paint scan"},
                 {"One value in a part", "tavlo paint scan --value 4095 --rect 10,2,30,8"},
                 {"Squares of 4 pixels", "tavlo paint scan --pattern checkerboard --square 4"}},
    .seeAlso = "tavlo watch, tavlo publish",
};

const Manual recodeManual = {
    .synopsis = "recode IN OUT [OPTION...]",
    .description =
        "Reads a picture, converts it with the component's recoder, and writes a PNG file, which may "
        "replace IN. With gamma and sigma 1 a value v from 0 to 1 becomes v * contrast + brightness.",
    .examples = {{"16 bits to 8", "tavlo recode scan.tif scan8.png --to Unsigned,8"},
                 {"Brighter and steeper", "tavlo recode scan.tif new.png --contrast 1.4 --brightness -0.1"},
                 {"False colours of a part",
                  "tavlo recode scan.tif new.png --rect 0,0,9,7 --color 0.5=b5367a"}},
    .seeAlso = "tavlo export; docs/recoding.md has the pairs of types and the tone curve",
};

const Manual scriptManual = {
    .synopsis = "script FILE NAME [OPTION...]\n"
                "script FILE --section SECTION --descriptor DESCRIPTOR [OPTION...]",
    .description =
        "Runs a script by the platform's script engines. It finds the image as 'image', and as WScript the "
        "members Echo, Sleep, CreateObject, ConnectObject, DisconnectObject and Quit. Its text is printed as "
        "it is, "
        "with --json too.",
    .examples = {{"On a published image", "tavlo script mean.js scan"},
                 {"A file whose name does not tell the language",
                  "tavlo script mean.txt scan --language jscript"}},
    .seeAlso = "tavlo watch; docs/scripting.md has what scripts can do with an image",
};

const Manual registerManual = {
    .synopsis = "register [OPTION...]",
    .description =
        "Registers Tavlo.dll, then TavloPS.dll, then SentelCommon.tlb, where they are, and prints a line "
        "for each. Nothing is changed when one is missing; the first step that fails is the last. Another "
        "component's SentelCommon.tlb that is registered stays so: 'tavlo register-common' replaces it.",
    .examples = {{"For all users, as an administrator", "tavlo register"},
                 {"For this user", "tavlo register --user"},
                 {"Files that are elsewhere", "tavlo register --folder C:\\Tavlo\\bin --user"}},
    .seeAlso = "tavlo unregister, tavlo register-common; docs/install.md",
};

const Manual unregisterManual = {
    .synopsis = "unregister [OPTION...]",
    .description = "Goes the way of register backwards, and says what is not registered. Another component's "
                   "SentelCommon.tlb stays registered.",
    .examples = {{"For all users, as an administrator", "tavlo unregister"},
                 {"For this user", "tavlo unregister --user"}},
    .seeAlso = "tavlo register",
};

const Manual registerCommonManual = {
    .synopsis = "register-common [FILE] [OPTION...]",
    .description =
        "Registers the type library that describes the rectangles of events to scripts. 'tavlo register' "
        "does that too, but keeps one of another component that is registered already.",
    .examples = {{"The one beside this program", "tavlo register-common --user"},
                 {"Back again", "tavlo register-common --user --unregister"}},
    .seeAlso = "tavlo register; docs/updates.md",
};

} // namespace Mardu::Sentel::Tavlo::Client
