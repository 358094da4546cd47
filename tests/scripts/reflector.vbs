' Events reach a host's own handlers; here the connections themselves are looked at.
Dim reflector, first, second
Set reflector = CreateObject("Tavlo.TavloEventsReflector")
Check "type name", "ITavloEventsReflector", TypeName(reflector)
Check "by its other name", "ITavloEventsReflector", TypeName(CreateObject("Tavlo.TavloEventsReflector.1"))
Set first = NewImage(0, 8, 2)
Set second = NewImage(0, 8, 2)

On Error Resume Next
reflector.Disconnect
CheckError "disconnecting nothing", 0, ""
reflector.Connect first
CheckError "connecting", 0, ""
reflector.Connect first
CheckError "connecting again", 0, ""
reflector.Connect second
CheckError "connecting to another image", 0, ""
reflector.Connect Nothing
CheckError "connecting to nothing", invalidArgument, Err.Description
reflector.Disconnect
CheckError "disconnecting", 0, ""
reflector.Disconnect
CheckError "disconnecting again", 0, ""
reflector.Connect reflector
Check "connecting to what is no image", True, Err.Number <> 0
Err.Clear
reflector.Connect CreateObject("Tavlo.Tavlo")
CheckError "connecting to an image without memory", 0, ""
reflector.Disconnect
CheckError "and disconnecting", 0, ""

' --- an image ends although a reflector that was not disconnected goes first
reflector.Connect first
Set reflector = Nothing
Set first = Nothing
CheckError "releasing both", 0, ""

' --- a reflector keeps its image
Set reflector = CreateObject("Tavlo.TavloEventsReflector")
reflector.Connect second
Set second = Nothing
reflector.Disconnect
CheckError "disconnecting the last reference", 0, ""

WScript.Echo "done: " & checks & " checks"
