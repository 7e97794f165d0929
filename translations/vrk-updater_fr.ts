<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>Redémarrer</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>Bienvenue dans l’outil de mise à jour</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>Échec de la connexion au service d’arrière-plan</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>Échec de la mise à jour du micrologiciel&#x202f;: veuillez vérifier la clé USB</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>Échec de l’initialisation de la bibliothèque VRK</translation>
    </message>
    <message>
        <source>unknown</source>
        <translatorcomment>Stands for the version after &quot;à&quot;, with its article.</translatorcomment>
        <translation>une version inconnue</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>Veuillez ne pas retirer la clé USB ni éteindre l’appareil</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>Confirmez-vous la mise à jour du système de %1 à %2&#x202f;?</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>Vérification de la mise à jour</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>Il manque des fichiers nécessaires à la mise à jour</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>Échec de la mise à jour du micrologiciel&#x202f;: archive endommagée</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>Mise à jour en cours…</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>Échec de la mise à jour du micrologiciel</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>Fichier de mise à jour ATMEGA absent&#x202f;: %1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>Échec de la mise à jour du micrologiciel de la carte de mesure</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>Veuillez retirer la clé USB, puis sélectionner «&#x202f;Redémarrer&#x202f;»</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>Mise à jour du micrologiciel réussie</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Annulation en cours…</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>Redémarrage en cours…</translation>
    </message>
</context>
</TS>
