@echo off
rem Registers Tavlo where it lies: for all users, from an administrator's prompt, or with --user
rem for this user only.
"%~dp0bin\tavlo.exe" register %*
exit /b %errorlevel%
