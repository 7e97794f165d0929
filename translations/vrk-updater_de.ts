<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>Neu starten</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>Willkommen bei der Systemaktualisierung</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>Verbindung zum Hintergrunddienst fehlgeschlagen</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>Firmware-Aktualisierung fehlgeschlagen: Bitte prüfen Sie den USB-Stick</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>VRK-Bibliothek konnte nicht initialisiert werden</translation>
    </message>
    <message>
        <source>unknown</source>
        <translatorcomment>Stands for the version after &quot;auf&quot;, hence the accusative and the article.</translatorcomment>
        <translation>eine unbekannte Version</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>Bitte entfernen Sie den USB-Stick nicht und schalten Sie das Gerät nicht aus</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>System wirklich von %1 auf %2 aktualisieren?</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>Aktualisierung wird geprüft</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>Erforderliche Aktualisierungsdateien fehlen</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>Firmware-Aktualisierung fehlgeschlagen: Archiv beschädigt</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>Aktualisierung läuft&#xa0;…</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>Firmware-Aktualisierung fehlgeschlagen</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>ATMEGA-Aktualisierungsdatei fehlt: %1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>Firmware-Aktualisierung der Messplatine fehlgeschlagen</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>Bitte entfernen Sie den USB-Stick und wählen Sie dann „Neu starten“</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>Firmware-Aktualisierung erfolgreich</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Vorgang wird abgebrochen&#xa0;…</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>Gerät wird neu gestartet&#xa0;…</translation>
    </message>
</context>
</TS>
