@echo off
rem Takes the registration of this folder out. Run it as administrator, then the folder can be deleted.
"%~dp0install.cmd" /u
