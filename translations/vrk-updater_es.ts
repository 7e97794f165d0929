<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>Reiniciar</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>Le damos la bienvenida al programa de actualización</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>No se pudo conectar con el servicio en segundo plano</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>Error al actualizar el firmware: compruebe la unidad USB</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>No se pudo inicializar la biblioteca VRK</translation>
    </message>
    <message>
        <source>unknown</source>
        <translatorcomment>Stands for the version after &quot;a&quot;, with its article.</translatorcomment>
        <translation>una versión desconocida</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>No retire la unidad USB ni apague el equipo</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>¿Confirma la actualización del sistema de %1 a %2?</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>Comprobando la actualización</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>Faltan archivos necesarios para la actualización</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>Error al actualizar el firmware: archivo comprimido dañado</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>Actualizando…</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>Error al actualizar el firmware</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>Falta archivo de actualización ATMEGA: %1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>Error al actualizar el firmware de la placa de medición</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>Retire la unidad USB y, a continuación, seleccione «Reiniciar»</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>Firmware actualizado correctamente</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Cancelando…</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>Reiniciando…</translation>
    </message>
</context>
</TS>
