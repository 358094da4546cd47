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
