@echo off
rem Registers Tavlo where it lies: for all users, from an administrator's prompt, or with --user
rem for this user only. What it reports may be for programs (--json), where to read is not.
"%~dp0bin\tavlo.exe" register %*
if not %errorlevel%==0 exit /b %errorlevel%
>&2 echo the guide is '%~dp0guide\index.html'
