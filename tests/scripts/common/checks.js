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

function attached(image) {
    var addressor = new ActiveXObject("Tavlo.Addressor");
    addressor.Attach(image);
    return addressor;
}
