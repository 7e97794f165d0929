<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>Reiniciar</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>Boas-vindas ao programa de atualização</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>Falha na comunicação com o serviço em segundo plano</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>Erro ao atualizar o firmware: verifique a unidade USB</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>Falha ao inicializar a biblioteca VRK</translation>
    </message>
    <message>
        <source>unknown</source>
        <translatorcomment>Stands for the version after &quot;para&quot;, with its article.</translatorcomment>
        <translation>uma versão desconhecida</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>Não remova a unidade USB nem desligue o equipamento</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>Confirma a atualização do sistema de %1 para %2?</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>Verificação da atualização</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>Faltam arquivos necessários à atualização</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>Erro ao atualizar o firmware: arquivo danificado</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>Atualização em curso…</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>Erro ao atualizar o firmware</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>Falta arquivo de atualização ATMEGA: %1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>Erro ao atualizar o firmware da placa de medição</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>Remova a unidade USB e, em seguida, selecione “Reiniciar”</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>Firmware atualizado com êxito</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Cancelamento em curso…</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>Reinício em curso…</translation>
    </message>
</context>
</TS>
