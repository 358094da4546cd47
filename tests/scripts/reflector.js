var checks = 0;

function check(what, expected, actual) {
    ++checks;
    if (expected !== actual)
        WScript.Echo("FAILED " + what + ": expected " + expected + ", got " + actual);
}

// A description of null is not looked at.
function checkError(what, expected, description, action) {
    var number = 0, message = "";
    try {
        action();
    } catch (error) {
        number = error.number;
        message = error.message;
    }
    check(what, expected, number);
    if (description !== null)
        check(what + ", described", description, message);
}

var invalidArgument = -2147024809, accessDenied = -2147024891, overflow = -2147352566, typeMismatch = -2147352571;

function newImage(encoding, bits, access) {
    var descriptor = new ActiveXObject("Tavlo.TavloDescriptor");
    descriptor.Encoding = encoding;
    descriptor.Bits = bits;
    descriptor.Width = 3;
    descriptor.Height = 2;
    var factory = new ActiveXObject("Tavlo.TavloFactory");
    return factory.Create(descriptor, access);
}

// Events reach a host's own handlers; here the connections themselves are looked at.
var reflector = new ActiveXObject("Tavlo.TavloEventsReflector");
var first = newImage(0, 8, 2), second = newImage(0, 8, 2);
checkError("disconnecting nothing", 0, "", function () { reflector.Disconnect(); });
checkError("connecting", 0, "", function () { reflector.Connect(first); });
checkError("connecting to another image", 0, "", function () { reflector.Connect(second); });
checkError("disconnecting", 0, "", function () { reflector.Disconnect(); });
checkError("disconnecting again", 0, "", function () { reflector.Disconnect(); });
checkError("connecting to null", typeMismatch, null, function () { reflector.Connect(null); });
var refused = 0;
try {
    reflector.Connect(reflector);
} catch (error) {
    refused = error.number;
}
check("connecting to what is no image", true, refused < 0);
checkError("connecting once more", 0, "", function () { reflector.Connect(first); });

WScript.Echo("done: " + checks + " checks");
